#include "QVConsumer/QVConsumerManager.h"

#include <tuple>
#include <type_traits>
#include <utility>

#include "QVConsumer/QVCBundle.h"
#include "QVConsumer/QVCDocument.h"
#include "QVConsumer/QVCException.h"
#include "QVConsumer/QVCFormat.h"
#include "QVConsumer/QVCMasterData.h"
#include "QVConsumer/QVCPConstant.h"
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

void QVConsumerManager::getMasterDataWithCompletionWithCompletion(MasterDataCompletion completion) {
    perform(std::move(completion), [&](const MasterDataCompletion& done) {
        request(_getMasterData, 0, std::nullopt, [done](const QVCResponse& response) {
            const QVCJSON* document = response.objectForKey("consumerRs");
            if (document != nullptr && document->is_object()) {
                // Not guarded here: a malformed document's exception reaches the
                // completion only while the request call is still running.
                done(QVCMasterData::initWithResponse(*document), nullptr, nullptr);
            } else {
                done(nullptr, response.error(), nullptr);
            }
        });
    });
}
