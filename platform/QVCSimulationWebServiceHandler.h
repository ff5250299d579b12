#pragma once

#include <memory>

#include "platform/QVCPlatformExport.h"
#include "platform/QVCTransportThread.h"
#include "platform/QVCWebServiceHandler.h"

/// The web service handler of the simulation environment: it answers every
/// request from the simulation file passed with it (simulateFilePath), never
/// from the network. The file is loaded on first use and kept until a request
/// names another file; a file that cannot be loaded answers every request with
/// an error record saying why. A request the live transport would refuse
/// (QVCRequestShapes) is refused alike, before the file is read.
///
/// Answers are delivered one at a time on the handler's own thread, as the
/// live transport does. Destroying the handler answers every request still
/// waiting with a "cancelled" error record and joins the thread.
class QVCPLATFORM_EXPORT QVCSimulationWebServiceHandler : public QVCWebServiceHandler {
public:
    QVCSimulationWebServiceHandler();
    ~QVCSimulationWebServiceHandler() override;

    /// Receives an exception that escaped an answer callback; by default it is dropped.
    void setExceptionHook(QVCTransportThread::ExceptionHook hook);

    void requestWithPath(const std::string& path, std::int64_t httpMethod, const std::string& contextMessageType,
                         const std::optional<QVCHeaders>& headers, const std::optional<QVCJSON>& body,
                         std::int64_t responseType, const std::optional<std::string>& simulateFilePath,
                         QVCResponseCompletion completion) override;

private:
    struct State;
    std::shared_ptr<State> state_;
};
