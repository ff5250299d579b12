#include "QVConsumer/QVConsumerCalls.h"

#include <utility>

// Each operation appears twice: the future form starts the callback form
// with the call's completion, and the blocking form waits for the future form.
// __func__ is the operation's own name in both.

using Manager = QVConsumerManager;

QVConsumerCalls::QVConsumerCalls(std::shared_ptr<QVConsumerManager> manager) : manager_(std::move(manager)) {}

QVCFuture<QVConsumerCalls::MasterDataResult> QVConsumerCalls::getMasterDataWithCompletionWithCompletion() const {
    return QVCCall::future<Manager::MasterDataCompletion>(
        __func__, [&](auto done) { manager_->getMasterDataWithCompletionWithCompletion(done); });
}

QVConsumerCalls::MasterDataResult QVConsumerCalls::getMasterDataWithCompletionWithCompletion(
    QVCDeadline deadline) const {
    return QVCCall::settle(__func__, deadline, [&] { return getMasterDataWithCompletionWithCompletion(); });
}

QVCFuture<QVConsumerCalls::ConsumerResult> QVConsumerCalls::authenticateConsumerWithUserName(
    const std::optional<std::string>& userName) const {
    return QVCCall::future<Manager::ConsumerCompletion>(
        __func__, [&](auto done) { manager_->authenticateConsumerWithUserName(userName, done); });
}

QVConsumerCalls::ConsumerResult QVConsumerCalls::authenticateConsumerWithUserName(
    const std::optional<std::string>& userName, QVCDeadline deadline) const {
    return QVCCall::settle(__func__, deadline, [&] { return authenticateConsumerWithUserName(userName); });
}

QVCFuture<QVConsumerCalls::ConsumerResult> QVConsumerCalls::signUpNewUserWithDetails(
    std::shared_ptr<QVCConsumerInfo> info) const {
    return QVCCall::future<Manager::ConsumerCompletion>(
        __func__, [&](auto done) { manager_->signUpNewUserWithDetails(info, done); });
}

QVConsumerCalls::ConsumerResult QVConsumerCalls::signUpNewUserWithDetails(std::shared_ptr<QVCConsumerInfo> info,
                                                                          QVCDeadline deadline) const {
    return QVCCall::settle(__func__, deadline, [&] { return signUpNewUserWithDetails(info); });
}

QVCFuture<QVConsumerCalls::ConsumerResult> QVConsumerCalls::updateConsumerProfile(
    std::shared_ptr<QVCConsumerInfo> info) const {
    return QVCCall::future<Manager::ConsumerCompletion>(
        __func__, [&](auto done) { manager_->updateConsumerProfile(info, done); });
}

QVConsumerCalls::ConsumerResult QVConsumerCalls::updateConsumerProfile(std::shared_ptr<QVCConsumerInfo> info,
                                                                       QVCDeadline deadline) const {
    return QVCCall::settle(__func__, deadline, [&] { return updateConsumerProfile(info); });
}

QVCFuture<QVConsumerCalls::LoyaltyResult> QVConsumerCalls::retrieveLoyaltyInfo() const {
    return QVCCall::future<Manager::LoyaltyCompletion>(__func__,
                                                       [&](auto done) { manager_->retrieveLoyaltyInfo(done); });
}

QVConsumerCalls::LoyaltyResult QVConsumerCalls::retrieveLoyaltyInfo(QVCDeadline deadline) const {
    return QVCCall::settle(__func__, deadline, [&] { return retrieveLoyaltyInfo(); });
}

QVCFuture<QVConsumerCalls::OffersResult> QVConsumerCalls::getAllOffersWithCompletionHandler() const {
    return QVCCall::future<Manager::OffersCompletion>(
        __func__, [&](auto done) { manager_->getAllOffersWithCompletionHandler(done); });
}

QVConsumerCalls::OffersResult QVConsumerCalls::getAllOffersWithCompletionHandler(QVCDeadline deadline) const {
    return QVCCall::settle(__func__, deadline, [&] { return getAllOffersWithCompletionHandler(); });
}

QVCFuture<QVConsumerCalls::ValidationResult> QVConsumerCalls::validateOfferWithOfferCode(
    const std::optional<std::string>& offerCode, std::optional<Manager::Products> products) const {
    return QVCCall::future<Manager::ValidationCompletion>(
        __func__, [&](auto done) { manager_->validateOfferWithOfferCode(offerCode, std::move(products), done); });
}

QVConsumerCalls::ValidationResult QVConsumerCalls::validateOfferWithOfferCode(
    const std::optional<std::string>& offerCode, std::optional<Manager::Products> products,
    QVCDeadline deadline) const {
    return QVCCall::settle(__func__, deadline,
                           [&] { return validateOfferWithOfferCode(offerCode, std::move(products)); });
}

QVCFuture<QVConsumerCalls::OfferResult> QVConsumerCalls::getOfferDetailsWithOfferID(
    const std::optional<QVCJSON>& offerID) const {
    return QVCCall::future<Manager::OfferCompletion>(
        __func__, [&](auto done) { manager_->getOfferDetailsWithOfferID(offerID, done); });
}

QVConsumerCalls::OfferResult QVConsumerCalls::getOfferDetailsWithOfferID(const std::optional<QVCJSON>& offerID,
                                                                         QVCDeadline deadline) const {
    return QVCCall::settle(__func__, deadline, [&] { return getOfferDetailsWithOfferID(offerID); });
}

QVCFuture<QVConsumerCalls::RedemptionResult> QVConsumerCalls::redeemOfferWithAmount(
    const std::optional<QVCJSON>& amount, const std::optional<std::string>& offerCode,
    const std::optional<QVCJSON>& referenceID) const {
    return QVCCall::future<Manager::RedemptionCompletion>(
        __func__, [&](auto done) { manager_->redeemOfferWithAmount(amount, offerCode, referenceID, done); });
}

QVConsumerCalls::RedemptionResult QVConsumerCalls::redeemOfferWithAmount(const std::optional<QVCJSON>& amount,
                                                                         const std::optional<std::string>& offerCode,
                                                                         const std::optional<QVCJSON>& referenceID,
                                                                         QVCDeadline deadline) const {
    return QVCCall::settle(__func__, deadline, [&] { return redeemOfferWithAmount(amount, offerCode, referenceID); });
}

QVCFuture<QVConsumerCalls::OfferResult> QVConsumerCalls::getOfferWithOfferCode(
    const std::optional<std::string>& offerCode) const {
    return QVCCall::future<Manager::OfferCompletion>(
        __func__, [&](auto done) { manager_->getOfferWithOfferCode(offerCode, done); });
}

QVConsumerCalls::OfferResult QVConsumerCalls::getOfferWithOfferCode(const std::optional<std::string>& offerCode,
                                                                    QVCDeadline deadline) const {
    return QVCCall::settle(__func__, deadline, [&] { return getOfferWithOfferCode(offerCode); });
}

QVCFuture<QVConsumerCalls::RulesCheckResult> QVConsumerCalls::offerRulesCheck(
    std::shared_ptr<QVCOffer> offer, const std::optional<std::string>& cartTotal,
    std::shared_ptr<QVCProduct> product) const {
    return QVCCall::future<Manager::RulesCheckCompletion>(
        __func__, [&](auto done) { manager_->offerRulesCheck(offer, cartTotal, product, done); });
}

QVConsumerCalls::RulesCheckResult QVConsumerCalls::offerRulesCheck(std::shared_ptr<QVCOffer> offer,
                                                                   const std::optional<std::string>& cartTotal,
                                                                   std::shared_ptr<QVCProduct> product,
                                                                   QVCDeadline deadline) const {
    return QVCCall::settle(__func__, deadline, [&] { return offerRulesCheck(offer, cartTotal, product); });
}

QVCFuture<QVConsumerCalls::PushResult> QVConsumerCalls::setPushDeviceToken(const std::optional<QVCJSON>& token) const {
    return QVCCall::future<Manager::PushCompletion>(__func__,
                                                    [&](auto done) { manager_->setPushDeviceToken(token, done); });
}

QVConsumerCalls::PushResult QVConsumerCalls::setPushDeviceToken(const std::optional<QVCJSON>& token,
                                                                QVCDeadline deadline) const {
    return QVCCall::settle(__func__, deadline, [&] { return setPushDeviceToken(token); });
}
