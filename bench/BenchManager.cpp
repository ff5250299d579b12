#include "bench/BenchManager.h"

#include <stdexcept>
#include <utility>

#include "bench/TextAnswerHandler.h"
#include "platform/QVCCompanyInfo.h"
#include "platform/QVCFacilityInfo.h"

namespace qvcbench {

std::string offerListPath(const std::string& consumerID, std::int64_t facility) {
    return "lqsapi/consumers/v1/consumers/" + consumerID + "/offers?facilityId=" + std::to_string(facility);
}

std::shared_ptr<QVConsumerManager> makeManager(std::int64_t environment, std::shared_ptr<QVCWebServiceHandler> handler,
                                               const std::string& consumerID) {
    auto company = std::make_shared<QVCCompanyInfo>();
    company->companyID = 42;
    auto manager =
        QVConsumerManager::initWithAppID("bench-app", "bench-key", company, consumerID, environment, nullptr);
    if (!manager) {
        throw std::runtime_error("the platform refused the benchmark manager's configuration");
    }
    auto facility = std::make_shared<QVCFacilityInfo>();
    facility->facilityID = kFacilityID;
    manager->setFacilityInfo(facility);
    if (handler) {
        manager->setWebServiceHandler(std::move(handler));
    }
    return manager;
}

std::vector<std::shared_ptr<QVCOffer>> decodeOfferList(std::string answerText) {
    auto handler =
        std::make_shared<TextAnswerHandler>(std::move(answerText), offerListPath(), 0, TextAnswerHandler::Use::Once);
    auto manager = makeManager(0, handler);
    std::vector<std::shared_ptr<QVCOffer>> records;
    bool called = false;
    std::string failure;
    manager->getAllOffersWithCompletionHandler([&](std::optional<std::vector<std::shared_ptr<QVCOffer>>> offers,
                                                   QVConsumerManager::Error error, std::exception_ptr exception) {
        called = true;
        if (exception) {
            try {
                std::rethrow_exception(exception);
            } catch (const std::exception& caught) {
                failure = caught.what();
            } catch (...) {
                failure = "an exception that is not a std::exception";
            }
        } else if (error || !offers) {
            failure = error ? error->description() : "no offer list and no error";
        } else {
            records = std::move(*offers);
        }
    });
    if (!called) {
        throw std::runtime_error("the offer list completion was not called");
    }
    if (!failure.empty()) {
        throw std::runtime_error("the offer list could not be decoded: " + failure);
    }
    return records;
}

namespace {

void appendText(std::string& line, const std::optional<std::string>& text) {
    if (!text) {
        line += '~';
    } else {
        line += std::to_string(text->size());
        line += ':';
        line += *text;
    }
}

}  // namespace

std::string offerListing(const QVCOffer& offer) {
    std::string line;
    const auto field = [&line](const std::optional<std::string>& text) {
        appendText(line, text);
        line += '|';
    };
    field(offer.consumerOfferId);
    field(offer.offerId);
    field(offer.offerName);
    field(offer.offerDescription);
    field(offer.promoCode);
    field(offer.offerCode);
    const OfferDetails empty;
    const OfferDetails& details = offer.offerDetails ? *offer.offerDetails : empty;
    const OfferRules noRules;
    const OfferRules& rule = details.rule ? *details.rule : noRules;
    field(rule.redeemLimit);
    field(rule.transactionLimit);
    field(rule.minPurchaseLimit);
    line += rule.combinable ? "1|" : "0|";
    const OfferType noType;
    const OfferType& type = details.type ? *details.type : noType;
    field(type.typeDescription);
    field(type.percentOff);
    field(type.amountOff);
    field(type.cardNumber);
    field(type.loyaltyPoint);
    field(details.imageURL);
    const std::size_t count = details.products ? details.products->size() : 0;
    line += std::to_string(count);
    for (std::size_t index = 0; index < count; ++index) {
        const auto& product = (*details.products)[index];
        line += '|';
        if (!product) {
            line += "~|0|~|0";
            continue;
        }
        field(product->name);
        line += std::to_string(product->productId);
        line += '|';
        field(product->price);
        line += std::to_string(product->quantity);
    }
    line += '\n';
    return line;
}

}  // namespace qvcbench
