#pragma once

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCCompanyInfo.h"
#include "platform/QVCErrorResponse.h"
#include "platform/QVCJSON.h"
#include "platform/QVCWebServiceHandler.h"
#include "platform/QVCoreCP.h"

struct QVCConsumerInfo;
struct QVCMasterData;
struct QVCOffer;
struct QVCProduct;

/// The library's entry point: one manager acts for one shopper. Each operation
/// sends its request through the platform's web service handler and reports
/// through its completion, exactly once unless stated otherwise, on the thread
/// the platform delivers the answer on. Failures arrive in the completion as an
/// error record or as the caught exception; nothing is thrown to the caller.
///
/// An answer that a reader refuses (a malformed document) raises while the
/// answer callback runs. With a handler that answers inside the request call
/// that exception reaches the completion; with the platform's shipped
/// transports, which answer on their own thread, it goes to
/// setAnswerExceptionHook and no completion follows.
///
/// These are the callback forms. QVConsumerCalls offers each operation also
/// as a future and as a blocking call with a deadline, which end on every path.
class QVCONSUMER_EXPORT QVConsumerManager : public QVCoreCP, public std::enable_shared_from_this<QVConsumerManager> {
public:
    using Error = std::shared_ptr<QVCErrorResponse>;
    using Products = std::vector<std::shared_ptr<QVCProduct>>;

    /// (master data, error, exception)
    using MasterDataCompletion =
        std::function<void(std::shared_ptr<QVCMasterData> masterData, Error error, std::exception_ptr exception)>;
    /// (consumer, error, exception): authentication, sign-up and profile update.
    using ConsumerCompletion =
        std::function<void(std::shared_ptr<QVCConsumerInfo> consumer, Error error, std::exception_ptr exception)>;
    /// (points, status description, error, exception)
    using LoyaltyCompletion = std::function<void(std::int64_t points, std::optional<std::string> description,
                                                 Error error, std::exception_ptr exception)>;
    /// (offers, error, exception)
    using OffersCompletion = std::function<void(std::optional<std::vector<std::shared_ptr<QVCOffer>>> offers,
                                                Error error, std::exception_ptr exception)>;
    /// (offer, error, exception): offer by id and offer by code.
    using OfferCompletion =
        std::function<void(std::shared_ptr<QVCOffer> offer, Error error, std::exception_ptr exception)>;
    /// (valid, products, amount off, error, exception)
    using ValidationCompletion =
        std::function<void(bool valid, std::optional<Products> products, std::optional<std::string> amountOff,
                           Error error, std::exception_ptr exception)>;
    /// (location, error, exception)
    using RedemptionCompletion =
        std::function<void(std::optional<std::string> location, Error error, std::exception_ptr exception)>;
    /// (passed, error)
    using RulesCheckCompletion = std::function<void(bool passed, Error error)>;
    /// (success, error, exception)
    using PushCompletion = std::function<void(bool success, Error error, std::exception_ptr exception)>;

    /// Creates a manager: the platform base is initialised with the six
    /// arguments (null when it refuses them), the simulation file is looked up
    /// (see QVCBundle) and loyalty starts as "". Issues no request; completion
    /// belongs to the platform base.
    static std::shared_ptr<QVConsumerManager> initWithAppID(const std::optional<std::string>& appID,
                                                            const std::optional<std::string>& appKey,
                                                            std::shared_ptr<QVCCompanyInfo> companyInfo,
                                                            const std::optional<std::string>& consumerID,
                                                            std::int64_t environment,
                                                            const StatusCompletion& completion);

    // The manager's own state may be read and written from any thread: answers
    // arrive on the transport's thread while the host calls on its own.

    /// Full path of the shipped simulation file passed with every request; none when not found.
    std::optional<std::string> simulatePath() const;
    void setSimulatePath(std::optional<std::string> simulatePath);

    /// The consumer's loyalty point balance as text: "" until a balance has been read.
    std::optional<std::string> loyalty() const;
    void setLoyalty(std::optional<std::string> loyalty);

    /// The clock that dates redemptions ("transactionDateTime"), read when the
    /// offer lookup of a redemption answers. The system clock by default; a
    /// hook for hosts that keep their own time and for tests. An empty
    /// function restores the system clock. It is called outside the manager's lock.
    using Clock = std::function<std::chrono::system_clock::time_point()>;
    void setClock(Clock clock);

    /// The service's reference lists.
    void getMasterDataWithCompletionWithCompletion(MasterDataCompletion completion);

    /// Looks a consumer up by user name and makes it the current consumer.
    void authenticateConsumerWithUserName(const std::optional<std::string>& userName, ConsumerCompletion completion);
    /// Registers a new consumer; the caller's record comes back with its id set.
    void signUpNewUserWithDetails(std::shared_ptr<QVCConsumerInfo> info, ConsumerCompletion completion);
    /// Rewrites the current consumer's profile; the caller's record comes back with its id set.
    void updateConsumerProfile(std::shared_ptr<QVCConsumerInfo> info, ConsumerCompletion completion);
    /// The current consumer's loyalty balance and status; keeps the balance in loyalty().
    void retrieveLoyaltyInfo(LoyaltyCompletion completion);

    /// The request document that signUpNewUserWithDetails sends: QVCConsumerDocument::signUp
    /// with the manager's company.
    QVCJSON signUpDocument(const std::shared_ptr<QVCConsumerInfo>& info) const;
    /// The request document that updateConsumerProfile sends: QVCConsumerDocument::update
    /// with the manager's company and current consumer id.
    QVCJSON updateDocument(const std::shared_ptr<QVCConsumerInfo>& info) const;

    /// The current consumer's offers at the current facility. Entries without
    /// an "offer" object are left out; an answer that is not a list reports
    /// the response's error.
    void getAllOffersWithCompletionHandler(OffersCompletion completion);
    /// What an offer code is worth against a basket: looks the offer up by
    /// code; a "PERCENT OFF" offer hands back one reservation product per
    /// basket product, priced per unit ("%f") when the rules check passes for
    /// it and at its own price otherwise; any other offer hands back the basket
    /// and the offer's amountOff. taxable is carried over only from basket
    /// products that are QVCReservationProducts (a plain product has none).
    void validateOfferWithOfferCode(const std::optional<std::string>& offerCode, std::optional<Products> products,
                                    ValidationCompletion completionHandler);
    /// One offer by its id. The response's error is passed beside the offer;
    /// an answer that is not one offer document calls no completion at all.
    void getOfferDetailsWithOfferID(const std::optional<QVCJSON>& offerID, OfferCompletion completion);
    /// Redeems an offer for a purchase; reports the redemption's location.
    /// An absent argument is refused at once without request. Otherwise the
    /// offer is looked up by code and the redemption posted for its
    /// consumerOfferId with the service's own offer code and the local time
    /// of the lookup's answer. A lookup that ends in an exception calls no
    /// completion.
    void redeemOfferWithAmount(const std::optional<QVCJSON>& amount, const std::optional<std::string>& offerCode,
                               const std::optional<QVCJSON>& referenceID, RedemptionCompletion completion);
    /// One offer by the code a shopper types (white space is removed).
    void getOfferWithOfferCode(const std::optional<std::string>& offerCode, OfferCompletion completion);
    /// Checks an offer's rules locally, in order: minimum purchase against
    /// cartTotal, the offer's loyalty points against loyalty(), then the
    /// product's id against the offer's products (none named: any product).
    /// Completes before it returns; runs outside the exception guard.
    void offerRulesCheck(std::shared_ptr<QVCOffer> offer, const std::optional<std::string>& cartTotal,
                         std::shared_ptr<QVCProduct> product, const RulesCheckCompletion& completion);

    /// Hands the token to the platform and registers it for the current consumer.
    void setPushDeviceToken(const std::optional<QVCJSON>& token, PushCompletion completion);
    using QVCoreCP::setPushDeviceToken;

private:
    QVConsumerManager() = default;

    /// The common call pattern: runs body(completion) inside the platform's
    /// exception guard; an exception that escapes the body calls completion
    /// once with that exception and every other argument empty. An empty
    /// completion is replaced by one that does nothing.
    template <typename... Args, typename Body>
    void perform(std::function<void(Args...)> completion, const Body& body);

    /// Issues one request through the platform's web service handler, with the
    /// arguments every operation shares: QVCHTTPMethodGet reads, QVCHTTPMethodPost sends body.
    /// A call of the future or blocking form watches the answer (QVCCallObserver::watching).
    void request(const std::string& path, std::int64_t httpMethod, std::optional<QVCJSON> body,
                 QVCResponseCompletion answer);

    /// The answer to an authentication: on a "consumers" list makes the id of
    /// its first consumer current and hands that consumer back, named userName.
    void authenticated(const QVCResponse& response, const std::optional<std::string>& userName,
                       const ConsumerCompletion& done);

    /// Sends a consumer request document; on an answer holding a "consumers"
    /// object makes its "consumerId" current and hands info back with that id.
    void sendConsumerDocument(QVCJSON document, std::shared_ptr<QVCConsumerInfo> info, const ConsumerCompletion& done);

    /// The time that dates a redemption: the host's clock, or the system's.
    std::chrono::system_clock::time_point now() const;
    /// A copy of one of the values below, and their setter, under mutex_.
    template <typename T>
    T locked(const T& value) const;
    template <typename T>
    void setLocked(T& target, T value);

    mutable std::mutex mutex_;  // guards the three values below
    std::optional<std::string> simulatePath_;
    std::optional<std::string> loyalty_;
    Clock clock_;
};
