#include "QVConsumer/QVConsumerManager.h"

#include <tuple>
#include <type_traits>
#include <utility>

#include "QVConsumer/QVCBundle.h"
#include "QVConsumer/QVCCallObserver.h"
#include "QVConsumer/QVCConsumerDocument.h"
#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCDocument.h"
#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCFormat.h"
#include "QVConsumer/QVCMasterData.h"
#include "QVConsumer/QVCNumber.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCPConstant.h"
#include "QVConsumer/QVCReader.h"
#include "QVConsumer/QVCRecordArena.h"
#include "platform/QVCUtility.h"

template <typename... Args, typename Body>
void QVConsumerManager::perform(std::function<void(Args...)> completion, const Body& body) {
    if (!completion) {
        completion = [](Args...) {};
    }
    // A call of the future or blocking form hears of the exception too: it
    // ends that call when the completion it reaches drops it (a redemption's lookup).
    auto reportException = [completion, observer = QVCCallObserver::current()](std::exception_ptr exception) {
        if (observer) {
            observer->raised(exception);
        }
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
    handler->requestWithPath(path, httpMethod, "consumers", std::nullopt, body, 0, simulatePath(),
                             QVCCallObserver::watching(std::move(answer)));
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
    manager->setSimulatePath(QVCBundle::pathForResource("QVConsumerSimulate", "json"));
    manager->setLoyalty("");
    return manager;
}

template <typename T>
T QVConsumerManager::locked(const T& value) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return value;
}

template <typename T>
void QVConsumerManager::setLocked(T& target, T value) {
    std::lock_guard<std::mutex> lock(mutex_);
    target = std::move(value);
}

std::optional<std::string> QVConsumerManager::simulatePath() const {
    return locked(simulatePath_);
}

void QVConsumerManager::setSimulatePath(std::optional<std::string> simulatePath) {
    setLocked(simulatePath_, std::move(simulatePath));
}

std::optional<std::string> QVConsumerManager::loyalty() const {
    return locked(loyalty_);
}

void QVConsumerManager::setLoyalty(std::optional<std::string> loyalty) {
    setLocked(loyalty_, std::move(loyalty));
}

void QVConsumerManager::setClock(Clock clock) {
    setLocked(clock_, std::move(clock));
}

std::chrono::system_clock::time_point QVConsumerManager::now() const {
    const Clock clock = locked(clock_);
    return clock ? clock() : std::chrono::system_clock::now();
}

void QVConsumerManager::setPushDeviceToken(const std::optional<QVCJSON>& token, PushCompletion completion) {
    QVCoreCP::setPushDeviceToken(token);
    perform(std::move(completion), [&](const PushCompletion& done) {
        std::string path = QVCFormat::format(QVCConsumerDevicePath, consumerID(), "/device");
        QVCJSON body = QVCJSON::object();
        QVCDocument::setObject(body, "deviceToken", token);
        body["deviceType"] = "iOS";
        body["en_Push"] = 1;
        request(path, QVCHTTPMethodPost, std::move(body), [done](const QVCResponse& response) {
            if (response.error()) {
                done(false, response.error(), nullptr);
            } else {
                done(true, nullptr, nullptr);
            }
        });
    });
}

void QVConsumerManager::authenticateConsumerWithUserName(const std::optional<std::string>& userName,
                                                         ConsumerCompletion completion) {
    perform(std::move(completion), [&](const ConsumerCompletion& done) {
        // Every attempt, whatever its outcome, forgets the balance read for the previous consumer.
        setLoyalty("");
        if (!userName) {
            throw QVCException("cannot build the authentication path: the user name is absent");
        }
        std::string path = QVCFormat::format(_loginService, *userName, "/authenticate");
        request(path, QVCHTTPMethodGet, std::nullopt,
                [self = shared_from_this(), done, userName](const QVCResponse& response) {
                    self->authenticated(response, userName, done);
                });
    });
}

void QVConsumerManager::authenticated(const QVCResponse& response, const std::optional<std::string>& userName,
                                      const ConsumerCompletion& done) {
    const auto consumers = response.objectForKey("consumers");
    if (consumers && consumers->is_array()) {
        const QVCReader first = QVCReader(*response.body(), "the answer").first("consumers");
        auto consumer = QVCConsumerInfo::initWithResponse(*first.value());
        consumer->personalInfo->consumerName = userName;
        // A refusal of the id reports the answer's own error (often none), not the platform's.
        auto answerError = response.error();
        setConsumerID(QVCFormat::integer(consumer->consumerID),
                      [done, consumer, answerError](bool success, Error, std::exception_ptr) {
                          if (success) {
                              done(consumer, nullptr, nullptr);
                          } else {
                              done(nullptr, answerError, nullptr);
                          }
                      });
    } else if (const auto code = response.objectForKey("httpResponseCode")) {
        auto error = QVCErrorResponse::initWithErrorMessages({QVCFormat::object(*code)});
        done(nullptr, error, nullptr);
    } else {
        done(nullptr, response.error(), nullptr);
    }
}

QVCJSON QVConsumerManager::signUpDocument(const std::shared_ptr<QVCConsumerInfo>& info) const {
    return QVCConsumerDocument::signUp(info, companyInfo());
}

QVCJSON QVConsumerManager::updateDocument(const std::shared_ptr<QVCConsumerInfo>& info) const {
    return QVCConsumerDocument::update(info, companyInfo(), consumerID());
}

void QVConsumerManager::signUpNewUserWithDetails(std::shared_ptr<QVCConsumerInfo> info, ConsumerCompletion completion) {
    perform(std::move(completion),
            [&](const ConsumerCompletion& done) { sendConsumerDocument(signUpDocument(info), info, done); });
}

void QVConsumerManager::updateConsumerProfile(std::shared_ptr<QVCConsumerInfo> info, ConsumerCompletion completion) {
    perform(std::move(completion),
            [&](const ConsumerCompletion& done) { sendConsumerDocument(updateDocument(info), info, done); });
}

void QVConsumerManager::sendConsumerDocument(QVCJSON document, std::shared_ptr<QVCConsumerInfo> info,
                                             const ConsumerCompletion& done) {
    request(_registerAppConsumerService, QVCHTTPMethodPost, std::move(document),
            [self = shared_from_this(), done, info](const QVCResponse& response) {
                const auto consumer = response.objectForKey("consumers");
                if (!consumer || !consumer->is_object()) {
                    done(nullptr, response.error(), nullptr);
                    return;
                }
                const std::string consumerID = QVCReader(*consumer, "consumers").formatted("consumerId");
                // A refusal of the id reports the answer's own error; the
                // platform's error and exception are dropped.
                auto answerError = response.error();
                self->setConsumerID(consumerID, [done, info, consumerID, answerError](bool success, Error,
                                                                                      std::exception_ptr exception) {
                    if (success) {
                        info->consumerID = QVCNumber::integerValue(std::optional<std::string>(consumerID));
                        done(info, nullptr, exception);
                    } else {
                        done(nullptr, answerError, nullptr);
                    }
                });
            });
}

void QVConsumerManager::retrieveLoyaltyInfo(LoyaltyCompletion completion) {
    perform(std::move(completion), [&](const LoyaltyCompletion& done) {
        std::string path = QVCFormat::format(_retrieveLoyaltyInfo, consumerID(), "/", "balance", "/", "loyalty");
        request(path, QVCHTTPMethodGet, std::nullopt, [self = shared_from_this(), done](const QVCResponse& response) {
            const auto entries = response.objectForKey("consumerRs");
            if (!entries || !entries->is_array()) {
                done(0, std::nullopt, response.error(), nullptr);
                return;
            }
            // The lists and the balance are taken without the null filter: a JSON null there raises.
            const QVCReader entry = QVCReader(*response.body(), "the answer").member("consumerRs").element(0);
            const QVCReader statuses = entry.member("loyaltyConsumerStatusResponse");
            // The balance is kept before the caller hears of it.
            self->setLoyalty(entry.formatted("loyaltyPoints"));
            const std::int64_t balance = entry.integerOrRaise("loyaltyPoints");
            if (statuses.count() > 0) {
                done(balance, statuses.element(0).text("description"), nullptr, nullptr);
            } else {
                done(balance, std::string(), nullptr, nullptr);
            }
        });
    });
}

void QVConsumerManager::getMasterDataWithCompletionWithCompletion(MasterDataCompletion completion) {
    perform(std::move(completion), [&](const MasterDataCompletion& done) {
        request(_getMasterData, QVCHTTPMethodGet, std::nullopt, [done](const QVCResponse& response) {
            const auto document = response.objectForKey("consumerRs");
            if (document && document->is_object()) {
                // Not guarded here: a malformed document's exception reaches the
                // completion only while the request call is still running.
                done(QVCMasterData::initWithResponse(*document), nullptr, nullptr);
            } else {
                done(nullptr, response.error(), nullptr);
            }
        });
    });
}

namespace {

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
        std::string path = QVCFormat::format(QVCConsumerOffersPath, consumerID(),
                                             "/offers?facilityId=", facility ? facility->facilityID : std::int64_t{0});
        request(path, QVCHTTPMethodGet, std::nullopt, [done](const QVCResponse& response) {
            const auto body = response.body();
            if (!body || !body->is_array()) {
                done(std::nullopt, response.error(), nullptr);
                return;
            }
            const QVCReader entries(*body, "offers");
            std::vector<std::shared_ptr<QVCOffer>> offers;
            offers.reserve(entries.count());
            QVCRecordArena arena;
            entries.forEach([&](const QVCReader& entry) {
                // An entry without an "offer" object is left out without a word.
                const auto offer = entry.member("offer").value();
                if (offer && offer->is_object()) {
                    offers.push_back(QVCOffer::initWithResponse(*entry.value(), arena));
                }
            });
            done(std::move(offers), nullptr, nullptr);
        });
    });
}

void QVConsumerManager::getOfferDetailsWithOfferID(const std::optional<QVCJSON>& offerID, OfferCompletion completion) {
    perform(std::move(completion), [&](const OfferCompletion& done) {
        std::string path = QVCFormat::format(QVCConsumerOffersPath, consumerID(), "/offers/", offerID);
        request(path, QVCHTTPMethodGet, std::nullopt, [done](const QVCResponse& response) {
            const auto body = response.body();
            // An answer that is not one offer document is not reported at all.
            if (body && body->is_object()) {
                done(QVCOffer::initWithResponse(*body), response.error(), nullptr);
            }
        });
    });
}

void QVConsumerManager::getOfferWithOfferCode(const std::optional<std::string>& offerCode, OfferCompletion completion) {
    perform(std::move(completion), [&](const OfferCompletion& done) {
        std::string path = QVCFormat::format(QVCConsumerOffersPath, consumerID(),
                                             "/offers?offerCode=", QVCFormat::removingWhiteSpace(offerCode));
        request(path, QVCHTTPMethodGet, std::nullopt, [done](const QVCResponse& response) {
            const auto body = response.body();
            if (!body || !body->is_array()) {
                done(nullptr, response.error(), nullptr);
                return;
            }
            const QVCReader offers(*body, "offers");
            if (offers.count() == 0) {
                done(nullptr, QVCErrorResponse::initWithErrorMessages({"This offer is not valid any more"}), nullptr);
            } else {
                done(QVCOffer::initWithResponse(*offers.element(0).value()), nullptr, nullptr);
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
            std::string path = QVCFormat::format(QVCConsumerOffersPath, self->consumerID(), "/offers/",
                                                 offer->consumerOfferId, "/redeems");
            QVCJSON body = QVCJSON::object();
            body["amount"] = *amount;
            // The service's own code for the offer, not the one the shopper typed.
            QVCDocument::setObject(body, "offerCode", offer->offerCode);
            body["referenceId"] = *referenceID;
            body["transactionDateTime"] = QVCFormat::transactionDateTime(self->now());
            self->request(path, QVCHTTPMethodPost, std::move(body), [done](const QVCResponse& response) {
                if (response.error()) {
                    done(std::nullopt, response.error(), nullptr);
                } else {
                    done(response.headerValue("location"), nullptr, nullptr);
                }
            });
        });
    });
}
