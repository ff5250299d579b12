// The manager's answer path for every operation, answered by the scripted
// handler from the input. Layout: byte 0 picks the operation, byte 1 holds
// flags, the rest is up to two answer texts separated by a NUL byte (the
// second answers the second request of a validation or redemption, or gives
// the record a sign-up, update or rules check works on).
//
// Each completion must run at most once; exactly once, except where the
// manager documents that none follows (an offer detail answer that is not one
// offer, a redemption whose lookup raised) and, in deferred delivery, when a
// reader refused an answer: that QVCException is the only one that may leave
// the handler's release call. Nothing may escape an operation call.
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "FuzzSupport.h"
#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCOffer.h"
#include "QVConsumer/QVCReservationProduct.h"
#include "QVConsumer/QVConsumerManager.h"
#include "platform/QVCEnvironment.h"
#include "testkit/QVCScriptedWebServiceHandler.h"

namespace {

enum Flag : std::uint8_t { Deferred = 1, FirstFails = 2, SecondFails = 4, Located = 8 };

struct Input {
    std::uint8_t operation = 0;
    std::uint8_t flags = 0;
    std::string first;
    std::string second;
};

/// An answer with the text as body (none when it is not JSON), a "Location"
/// header when asked, and an error record when the request failed.
QVCResponse answerFrom(std::string text, bool fails, bool located) {
    QVCHeaders headers;
    if (located) {
        headers["Location"] = "lqsapi/consumers/v1/redemptions/1";
    }
    return QVCResponse(QVCAnswerDocument::parse(std::move(text)).document, std::move(headers),
                       fails ? QVCErrorResponse::initWithErrorMessages({"scripted failure"}) : nullptr);
}

/// The record a reader makes of text; none when the text is not JSON or the reader refuses it.
template <typename Record>
std::shared_ptr<Record> recordFrom(const std::string& text) {
    const auto parsed = QVCAnswerDocument::parseCopyOf(text);
    try {
        return parsed.document ? Record::initWithResponse(parsed.document->root()) : nullptr;
    } catch (const QVCException&) {
        return nullptr;
    }
}

std::shared_ptr<QVCConsumerInfo> consumerFrom(const std::string& text) {
    auto consumer = recordFrom<QVCConsumerInfo>(text);
    if (!consumer) {
        return std::make_shared<QVCConsumerInfo>();
    }
    // Readers keep no group codes, without which an update stops before its request.
    consumer->consumerGroupCodes = QVCConsumerInfo().consumerGroupCodes;
    return consumer;
}

/// A basket of one plain product and one reservation product.
QVConsumerManager::Products basket() {
    auto plain = std::make_shared<QVCProduct>();
    plain->productId = 301;
    auto reserved = std::make_shared<QVCReservationProduct>();
    reserved->productId = 302;
    reserved->price = "8.00";
    reserved->quantity = 2;
    return {plain, reserved};
}

constexpr std::array<const char*, 5> cartTotals{"25.00", "", "-3", "1e400", "abc"};

using Counter = std::shared_ptr<int>;

/// A completion of any signature that counts its calls and stops at a second one.
auto counting(const Counter& calls) {
    return [calls](auto&&...) {
        if (++*calls > 1) {
            fuzzFinding("a completion ran twice");
        }
    };
}

struct Operation {
    bool mayStaySilent;
    std::function<void(QVConsumerManager&, const Input&, const Counter&)> call;
};

const std::array<Operation, 12> operations{{
    {false, [](auto& m, auto&, auto& c) { m.getMasterDataWithCompletionWithCompletion(counting(c)); }},
    {false, [](auto& m, auto&, auto& c) { m.authenticateConsumerWithUserName("jdoe", counting(c)); }},
    {false, [](auto& m, auto& in, auto& c) { m.signUpNewUserWithDetails(consumerFrom(in.second), counting(c)); }},
    {false, [](auto& m, auto& in, auto& c) { m.updateConsumerProfile(consumerFrom(in.second), counting(c)); }},
    {false, [](auto& m, auto&, auto& c) { m.retrieveLoyaltyInfo(counting(c)); }},
    {false, [](auto& m, auto&, auto& c) { m.getAllOffersWithCompletionHandler(counting(c)); }},
    {false, [](auto& m, auto&, auto& c) { m.validateOfferWithOfferCode("SAVE10", basket(), counting(c)); }},
    {true, [](auto& m, auto&, auto& c) { m.getOfferDetailsWithOfferID(QVCJSON(501), counting(c)); }},
    {true,
     [](auto& m, auto&, auto& c) { m.redeemOfferWithAmount(QVCJSON(57), "SAVE10", QVCJSON("R-1"), counting(c)); }},
    {false, [](auto& m, auto&, auto& c) { m.getOfferWithOfferCode(" SAVE 10 ", counting(c)); }},
    {false,
     [](auto& m, auto& in, auto& c) {
         m.setLoyalty(cartTotals[(in.flags >> 4) % cartTotals.size()]);
         m.offerRulesCheck(recordFrom<QVCOffer>(in.first), cartTotals[in.flags % cartTotals.size()],
                           recordFrom<QVCProduct>(in.second), counting(c));
     }},
    {false, [](auto& m, auto&, auto& c) { m.setPushDeviceToken(QVCJSON("a1b2c3"), counting(c)); }},
}};

Input split(std::string_view text) {
    Input input;
    input.operation = static_cast<std::uint8_t>(text[0]);
    input.flags = static_cast<std::uint8_t>(text[1]);
    text.remove_prefix(2);
    const auto separator = text.find('\0');
    input.first = std::string(text.substr(0, separator));
    if (separator != std::string_view::npos) {
        input.second = std::string(text.substr(separator + 1));
    }
    return input;
}

/// Deferred delivery: answers every waiting request. False when a reader
/// refused an answer; any other exception is a finding.
bool releaseEverything(QVCScriptedWebServiceHandler& handler) {
    bool clean = true;
    for (bool released = true; released;) {
        try {
            released = handler.releaseNext();
        } catch (const QVCException&) {
            clean = false;  // that request was taken off the queue before it was answered
        }
    }
    return clean;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const Input input = split(fuzzText(data, size));
    const Operation& operation = operations[input.operation % operations.size()];
    const bool deferred = input.flags & Deferred;

    auto company = std::make_shared<QVCCompanyInfo>();
    company->companyID = 42;
    auto manager = QVConsumerManager::initWithAppID("app", "key", company, "1001", QVCEnvironmentSimulation, nullptr);
    using Delivery = QVCScriptedWebServiceHandler::Delivery;
    auto handler = std::make_shared<QVCScriptedWebServiceHandler>(deferred ? Delivery::Deferred : Delivery::Immediate);
    handler->answerWith(answerFrom(input.first, input.flags & FirstFails, false));
    handler->answerWith(answerFrom(input.second, input.flags & SecondFails, input.flags & Located));
    manager->setWebServiceHandler(handler);

    const auto calls = std::make_shared<int>(0);
    try {
        operation.call(*manager, input, calls);
    } catch (...) {
        fuzzFinding("an exception escaped an operation call");
    }
    const bool clean = deferred ? releaseEverything(*handler) : true;
    manager->setWebServiceHandler(nullptr);
    if (*calls == 0 && clean && !operation.mayStaySilent) {
        fuzzFinding("an operation ended without a completion");
    }
    return 0;
}
