#include "QVConsumer/QVConsumerManager.h"

#include <ctime>
#include <tuple>
#include <type_traits>
#include <utility>

#include "QVConsumer/QVCBundle.h"
#include "QVConsumer/QVCDocument.h"
#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCFormat.h"
#include "QVConsumer/QVCNumber.h"
#include "QVConsumer/QVCOffer.h"
#include "platform/QVCUtility.h"

template <typename... Args, typename Body>
void QVConsumerManager::perform(std::function<void(Args...)> completion, const Body& body) {
    if (!completion) {
        completion = [](Args...) {};
    }
    auto reportException = [completion](std::exception_ptr exception) {
        std::tuple<std::decay_t<Args>...> arguments{};
        std::get<sizeof...(Args) - 1>(arguments) = exception;
        std::apply(completion, std::move(arguments));
    };
    QVCUtility::safetyCheck([&] { body(completion); }, reportException);
}

void QVConsumerManager::request(const std::string& path, std::int64_t httpMethod, std::optional<QVCJSON> body,
                                QVCResponseCompletion answer) {
    auto handler = webServiceHandler();
    if (!handler) {
        throw QVCException("the platform has no web service handler for request \"" + path + "\"");
    }
    handler->requestWithPath(path, httpMethod, "consumers", std::nullopt, body, 0, simulatePath(), std::move(answer));
}

std::shared_ptr<QVConsumerManager> QVConsumerManager::initWithAppID(const std::optional<std::string>& appID,
                                                                    const std::optional<std::string>& appKey,
                                                                    std::shared_ptr<QVCCompanyInfo> companyInfo,
                                                                    const std::optional<std::string>& consumerID,
                                                                    std::int64_t environment,
                                                                    const StatusCompletion& completion) {
    std::shared_ptr<QVConsumerManager> manager(new QVConsumerManager());
    if (!manager->QVCoreCP::initWithAppID(appID, appKey, std::move(companyInfo), consumerID, environment, completion)) {
        return nullptr;
    }
    manager->simulatePath_ = QVCBundle::pathForResource("QVConsumerSimulate", "json");
    manager->loyalty_ = "";
    return manager;
}

void QVConsumerManager::setPushDeviceToken(const std::optional<QVCJSON>& token, PushCompletion completion) {
    QVCoreCP::setPushDeviceToken(token);
    perform(std::move(completion), [&](const PushCompletion& done) {
        std::string path = QVCFormat::format("lqsapi/consumers/v1/consumer/", consumerID(), "/device");
        QVCJSON body = QVCJSON::object();
        QVCDocument::setObject(body, "deviceToken", token);
        body["deviceType"] = "iOS";
        body["en_Push"] = 1;
        request(path, 1, std::move(body), [done](const QVCResponse& response) {
            if (response.error()) {
                done(false, response.error(), nullptr);
            } else {
                done(true, nullptr, nullptr);
            }
        });
    });
}

namespace {

const char* const offersPath = "lqsapi/consumers/v1/consumers/";

/// The length of the white-space character that starts at position, 0 when
/// none does: the ASCII blanks (space, tab, line feed, vertical tab, form
/// feed, carriage return) and, in UTF-8, the Unicode white space (next line,
/// no-break space, ogham space, the spaces U+2000 to U+200A, the line and
/// paragraph separators, narrow no-break, medium mathematical and ideographic space).
std::size_t whiteSpaceLength(const std::string& text, std::size_t position) {
    auto byte = [&](std::size_t offset) {
        return position + offset < text.size() ? static_cast<unsigned char>(text[position + offset]) : 0U;
    };
    const unsigned first = byte(0);
    if (first == ' ' || (first >= '\t' && first <= '\r')) {
        return 1;
    }
    const unsigned second = byte(1);
    const unsigned third = byte(2);
    if (first == 0xC2 && (second == 0x85 || second == 0xA0)) {
        return 2;
    }
    if (first == 0xE1 && second == 0x9A && third == 0x80) {
        return 3;
    }
    if (first == 0xE2 && second == 0x80 && (third <= 0x8A || third == 0xA8 || third == 0xA9 || third == 0xAF)) {
        return 3;
    }
    if ((first == 0xE2 && second == 0x81 && third == 0x9F) || (first == 0xE3 && second == 0x80 && third == 0x80)) {
        return 3;
    }
    return 0;
}

/// The code with every white-space character removed, wherever it stands; none stays none.
std::optional<std::string> removingWhiteSpace(const std::optional<std::string>& code) {
    if (!code) {
        return std::nullopt;
    }
    std::string cleaned;
    for (std::size_t position = 0; position < code->size();) {
        const std::size_t blank = whiteSpaceLength(*code, position);
        if (blank > 0) {
            position += blank;
        } else {
            cleaned.push_back((*code)[position++]);
        }
    }
    return cleaned;
}

/// "MM/dd/yyyy hh:mm a" in the current local time zone (TZ is read again on
/// every call): a 12-hour clock with the day-period marker.
std::string transactionDateTime(std::chrono::system_clock::time_point now) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    ::tzset();
    localtime_r(&seconds, &local);
    char text[64];
    const std::size_t length = std::strftime(text, sizeof text, "%m/%d/%Y %I:%M %p", &local);
    return std::string(text, length);
}

/// The sub-records the offer checks read; a missing one reads as absent texts.
const OfferRules* rulesOf(const QVCOffer* offer) {
    return offer && offer->offerDetails ? offer->offerDetails->rule.get() : nullptr;
}

const OfferType* typeOf(const QVCOffer* offer) {
    return offer && offer->offerDetails ? offer->offerDetails->type.get() : nullptr;
}

/// Whether the rules check's product walk finds productId among the offer's
/// products; true when the offer names no products (no list or an empty one).
bool offerAppliesToProduct(const QVCOffer* offer, std::int64_t productId) {
    if (!offer || !offer->offerDetails || !offer->offerDetails->products || offer->offerDetails->products->empty()) {
        return true;
    }
    for (const auto& listed : *offer->offerDetails->products) {
        if (listed && listed->productId == productId) {
            return true;
        }
    }
    return false;
}

}  // namespace

void QVConsumerManager::getAllOffersWithCompletionHandler(OffersCompletion completion) {
    perform(std::move(completion), [&](const OffersCompletion& done) {
        auto facility = facilityInfo();
        std::string path = QVCFormat::format(offersPath, consumerID(),
                                             "/offers?facilityId=", facility ? facility->facilityID : std::int64_t{0});
        request(path, 0, std::nullopt, [done](const QVCResponse& response) {
            const auto& body = response.body();
            if (!body || !body->is_array()) {
                done(std::nullopt, response.error(), nullptr);
                return;
            }
            std::vector<std::shared_ptr<QVCOffer>> offers;
            for (std::size_t index = 0; index < body->size(); ++index) {
                const QVCJSON& entry = (*body)[index];
                // An entry without an "offer" object is left out without a word.
                const QVCJSON* offer =
                    QVCDocument::valueForKey(entry, "offer", "offers[" + std::to_string(index) + "]");
                if (offer && offer->is_object()) {
                    offers.push_back(QVCOffer::initWithResponse(entry));
                }
            }
            done(std::move(offers), nullptr, nullptr);
        });
    });
}

void QVConsumerManager::getOfferDetailsWithOfferID(const std::optional<QVCJSON>& offerID, OfferCompletion completion) {
    perform(std::move(completion), [&](const OfferCompletion& done) {
        std::string path = QVCFormat::format(offersPath, consumerID(), "/offers/", offerID);
        request(path, 0, std::nullopt, [done](const QVCResponse& response) {
            const auto& body = response.body();
            // An answer that is not one offer document is not reported at all.
            if (body && body->is_object()) {
                done(QVCOffer::initWithResponse(*body), response.error(), nullptr);
            }
        });
    });
}

void QVConsumerManager::getOfferWithOfferCode(const std::optional<std::string>& offerCode, OfferCompletion completion) {
    perform(std::move(completion), [&](const OfferCompletion& done) {
        std::string path =
            QVCFormat::format(offersPath, consumerID(), "/offers?offerCode=", removingWhiteSpace(offerCode));
        request(path, 0, std::nullopt, [done](const QVCResponse& response) {
            const auto& body = response.body();
            if (!body || !body->is_array()) {
                done(nullptr, response.error(), nullptr);
            } else if (body->empty()) {
                done(nullptr, QVCErrorResponse::initWithErrorMessages({"This offer is not valid any more"}), nullptr);
            } else {
                done(QVCOffer::initWithResponse(body->front()), nullptr, nullptr);
            }
        });
    });
}

void QVConsumerManager::offerRulesCheck(std::shared_ptr<QVCOffer> offer, const std::optional<std::string>& cartTotal,
                                        std::shared_ptr<QVCProduct> product, const RulesCheckCompletion& completion) {
    auto report = [&completion](const char* failure) {
        if (completion) {
            completion(failure == nullptr, failure ? QVCErrorResponse::initWithErrorMessages({failure}) : nullptr);
        }
    };
    const OfferRules* rule = rulesOf(offer.get());
    const OfferType* type = typeOf(offer.get());
    // Each rule fails only when its comparison holds, so a value that is not a number passes.
    const double total = QVCNumber::doubleValue(cartTotal);
    const double minimum = QVCNumber::doubleValue(rule ? rule->minPurchaseLimit : std::nullopt);
    if (minimum > total) {
        report("Purchase amount is lower than minimum transaction amount");
        return;
    }
    const double points = QVCNumber::doubleValue(loyalty());
    const double cost = QVCNumber::doubleValue(type ? type->loyaltyPoint : std::nullopt);
    if (cost > points) {
        report("You do not have enough loyalty points to use this offer");
        return;
    }
    if (!product || offerAppliesToProduct(offer.get(), product->productId)) {
        report(nullptr);
        return;
    }
    report("Product ID does not match");
}

void QVConsumerManager::validateOfferWithOfferCode(const std::optional<std::string>& offerCode,
                                                   std::optional<Products> products,
                                                   ValidationCompletion completionHandler) {
    perform(std::move(completionHandler), [&](const ValidationCompletion& done) {
        auto self = shared_from_this();
        getOfferWithOfferCode(offerCode, [self, done, products](std::shared_ptr<QVCOffer> offer, Error error,
                                                                std::exception_ptr exception) {
            if (error || exception) {
                done(false, std::nullopt, std::nullopt, error, exception);
                return;
            }
            if (!offer) {
                done(false, products, std::nullopt, nullptr, nullptr);
                return;
            }
            const Products basket = products.value_or(Products{});
            double total = 0.0;
            for (const auto& item : basket) {
                if (item) {
                    total += QVCNumber::doubleValue(item->price) * static_cast<double>(item->quantity);
                }
            }
            const OfferType* type = typeOf(offer.get());
            if (!type || type->typeDescription != "PERCENT OFF") {
                done(true, products, type ? type->amountOff : std::nullopt, nullptr, nullptr);
                return;
            }
            Products priced;
            for (const auto& item : basket) {
                const double factor = 1.0 - QVCNumber::doubleValue(type->percentOff) / 100.0;
                auto result = std::make_shared<QVCReservationProduct>();
                // A plain product has no taxable flag: only a reservation product passes one on.
                auto reservation = std::dynamic_pointer_cast<QVCReservationProduct>(item);
                result->quantity = item ? item->quantity : 0;
                result->taxable = reservation && reservation->taxable;
                const std::optional<std::string> ownPrice = item ? item->price : std::nullopt;
                self->offerRulesCheck(offer, QVCFormat::decimal(total), item, [&](bool passed, const Error&) {
                    // A product the rules reject keeps its own, undiscounted price.
                    result->price = passed ? QVCFormat::decimal(QVCNumber::doubleValue(ownPrice) * factor) : ownPrice;
                });
                priced.push_back(std::move(result));
            }
            done(true, std::move(priced), std::nullopt, nullptr, nullptr);
        });
    });
}

void QVConsumerManager::redeemOfferWithAmount(const std::optional<QVCJSON>& amount,
                                              const std::optional<std::string>& offerCode,
                                              const std::optional<QVCJSON>& referenceID,
                                              RedemptionCompletion completion) {
    if (!amount || !offerCode || !referenceID) {
        if (completion) {
            completion(std::nullopt,
                       QVCErrorResponse::initWithErrorMessages(
                           {"Please make sure your transaction, offer code, reference ID exist and match each other"}),
                       nullptr);
        }
        return;
    }
    perform(std::move(completion), [&](const RedemptionCompletion& done) {
        auto self = shared_from_this();
        getOfferWithOfferCode(offerCode, [self, done, amount, referenceID](std::shared_ptr<QVCOffer> offer, Error error,
                                                                           std::exception_ptr) {
            if (!offer) {
                // A lookup that ended in an exception is not reported.
                if (error) {
                    done(std::nullopt, error, nullptr);
                }
                return;
            }
            std::string path =
                QVCFormat::format(offersPath, self->consumerID(), "/offers/", offer->consumerOfferId, "/redeems");
            QVCJSON body = QVCJSON::object();
            body["amount"] = *amount;
            // The service's own code for the offer, not the one the shopper typed.
            QVCDocument::setObject(body, "offerCode", offer->offerCode);
            body["referenceId"] = *referenceID;
            const auto now = self->clock_ ? self->clock_() : std::chrono::system_clock::now();
            body["transactionDateTime"] = transactionDateTime(now);
            self->request(path, 1, std::move(body), [done](const QVCResponse& response) {
                if (response.error()) {
                    done(std::nullopt, response.error(), nullptr);
                } else {
                    done(response.headerValue("location"), nullptr, nullptr);
                }
            });
        });
    });
}
