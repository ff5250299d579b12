#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QVConsumer/QVCCall.h"
#include "QVConsumer/QVCFuture.h"
#include "QVConsumer/QVCResult.h"
#include "QVConsumer/QVConsumerExport.h"
#include "QVConsumer/QVConsumerManager.h"

/// The future and blocking forms of the manager's operations, beside the
/// callback forms that the manager itself offers. Each operation keeps its
/// name; where the callback form takes a completion, the future form takes
/// nothing and returns a QVCFuture of the operation's QVCResult, and the
/// blocking form takes a QVCDeadline (a duration from now, or a point of the
/// steady clock) and returns the QVCResult:
///
///     manager->getOfferWithOfferCode("SAVE10", completion);   // callback
///     auto future = calls.getOfferWithOfferCode("SAVE10");     // future
///     auto result = calls.getOfferWithOfferCode("SAVE10", 5s); // blocking
///
/// Every future becomes ready exactly once: with the completion's arguments;
/// as NoAnswer as soon as the library lets go of the call without calling the
/// completion (the operations' documented silent paths, a reader that raised on
/// the transport's thread, carrying that exception, a request its handler
/// dropped); a blocking form also ends as TimedOut at its deadline. Waiting on
/// the thread that delivers answers ends at once as OnDeliveryThread (see
/// QVCFuture). The callback forms are unchanged by these: an exception raised
/// while an answer is read still reaches the answer exception hook.
///
/// The object only holds the manager; copies are cheap and may be used from
/// any thread. The initialiser has no other forms: it completes before it returns.
class QVCONSUMER_EXPORT QVConsumerCalls {
public:
    using Manager = QVConsumerManager;
    template <typename Completion>
    using ResultOf = typename QVCCompletionTraits<Completion>::Result;

    /// (master data)
    using MasterDataResult = ResultOf<Manager::MasterDataCompletion>;
    /// (consumer)
    using ConsumerResult = ResultOf<Manager::ConsumerCompletion>;
    /// (points, status description)
    using LoyaltyResult = ResultOf<Manager::LoyaltyCompletion>;
    /// (offers)
    using OffersResult = ResultOf<Manager::OffersCompletion>;
    /// (offer)
    using OfferResult = ResultOf<Manager::OfferCompletion>;
    /// (valid, products, amount off)
    using ValidationResult = ResultOf<Manager::ValidationCompletion>;
    /// (location)
    using RedemptionResult = ResultOf<Manager::RedemptionCompletion>;
    /// (passed); never carries an exception
    using RulesCheckResult = ResultOf<Manager::RulesCheckCompletion>;
    /// (success)
    using PushResult = ResultOf<Manager::PushCompletion>;

    explicit QVConsumerCalls(std::shared_ptr<QVConsumerManager> manager);

    QVConsumerManager& manager() const { return *manager_; }

    QVCFuture<MasterDataResult> getMasterDataWithCompletionWithCompletion() const;
    MasterDataResult getMasterDataWithCompletionWithCompletion(QVCDeadline deadline) const;

    QVCFuture<ConsumerResult> authenticateConsumerWithUserName(const std::optional<std::string>& userName) const;
    ConsumerResult authenticateConsumerWithUserName(const std::optional<std::string>& userName,
                                                    QVCDeadline deadline) const;

    QVCFuture<ConsumerResult> signUpNewUserWithDetails(std::shared_ptr<QVCConsumerInfo> info) const;
    ConsumerResult signUpNewUserWithDetails(std::shared_ptr<QVCConsumerInfo> info, QVCDeadline deadline) const;

    QVCFuture<ConsumerResult> updateConsumerProfile(std::shared_ptr<QVCConsumerInfo> info) const;
    ConsumerResult updateConsumerProfile(std::shared_ptr<QVCConsumerInfo> info, QVCDeadline deadline) const;

    QVCFuture<LoyaltyResult> retrieveLoyaltyInfo() const;
    LoyaltyResult retrieveLoyaltyInfo(QVCDeadline deadline) const;

    QVCFuture<OffersResult> getAllOffersWithCompletionHandler() const;
    OffersResult getAllOffersWithCompletionHandler(QVCDeadline deadline) const;

    QVCFuture<ValidationResult> validateOfferWithOfferCode(const std::optional<std::string>& offerCode,
                                                           std::optional<Manager::Products> products) const;
    ValidationResult validateOfferWithOfferCode(const std::optional<std::string>& offerCode,
                                                std::optional<Manager::Products> products, QVCDeadline deadline) const;

    QVCFuture<OfferResult> getOfferDetailsWithOfferID(const std::optional<QVCJSON>& offerID) const;
    OfferResult getOfferDetailsWithOfferID(const std::optional<QVCJSON>& offerID, QVCDeadline deadline) const;

    QVCFuture<RedemptionResult> redeemOfferWithAmount(const std::optional<QVCJSON>& amount,
                                                      const std::optional<std::string>& offerCode,
                                                      const std::optional<QVCJSON>& referenceID) const;
    RedemptionResult redeemOfferWithAmount(const std::optional<QVCJSON>& amount,
                                           const std::optional<std::string>& offerCode,
                                           const std::optional<QVCJSON>& referenceID, QVCDeadline deadline) const;

    QVCFuture<OfferResult> getOfferWithOfferCode(const std::optional<std::string>& offerCode) const;
    OfferResult getOfferWithOfferCode(const std::optional<std::string>& offerCode, QVCDeadline deadline) const;

    /// Local: the future is ready when this returns.
    QVCFuture<RulesCheckResult> offerRulesCheck(std::shared_ptr<QVCOffer> offer,
                                                const std::optional<std::string>& cartTotal,
                                                std::shared_ptr<QVCProduct> product) const;
    RulesCheckResult offerRulesCheck(std::shared_ptr<QVCOffer> offer, const std::optional<std::string>& cartTotal,
                                     std::shared_ptr<QVCProduct> product, QVCDeadline deadline) const;

    QVCFuture<PushResult> setPushDeviceToken(const std::optional<QVCJSON>& token) const;
    PushResult setPushDeviceToken(const std::optional<QVCJSON>& token, QVCDeadline deadline) const;

private:
    std::shared_ptr<QVConsumerManager> manager_;
};
