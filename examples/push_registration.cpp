// Constructs a manager, answers its requests with the scripted web service
// handler and registers a push token, printing the request and the outcome.
#include <iostream>
#include <memory>

#include "QVConsumer/QVConsumerManager.h"
#include "platform/QVCEnvironment.h"
#include "testkit/QVCScriptedWebServiceHandler.h"

int main() {
    auto company = std::make_shared<QVCCompanyInfo>();
    company->companyID = 42;
    auto manager =
        QVConsumerManager::initWithAppID("demo-app", "demo-key", company, "1234", QVCEnvironmentSimulation, nullptr);
    if (!manager) {
        std::cerr << "the platform refused the manager's configuration\n";
        return 1;
    }

    auto handler = std::make_shared<QVCScriptedWebServiceHandler>();
    handler->answerWithBody(QVCJSON::object());
    manager->setWebServiceHandler(handler);

    int status = 1;
    manager->setPushDeviceToken("a1b2c3d4", [&](bool success, QVConsumerManager::Error error, std::exception_ptr) {
        const QVCRecordedRequest sent = handler->lastRequest();
        std::cout << "request: " << (sent.httpMethod == QVCHTTPMethodPost ? "send " : "read ") << sent.path << "\n"
                  << "body:    " << (sent.body ? sent.body->dump() : "(none)") << "\n";
        if (success) {
            std::cout << "push token registered for consumer " << manager->consumerID().value_or("(none)") << "\n";
            status = 0;
        } else {
            std::cout << "registration failed: " << (error ? error->description() : "no error record") << "\n";
        }
    });
    return status;
}
