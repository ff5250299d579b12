#pragma once

#include <memory>

#include "platform/QVCPlatformExport.h"
#include "platform/QVCTransportWorker.h"
#include "platform/QVCWebServiceHandler.h"

/// The web service handler of the simulation environment: it answers every
/// request from the simulation file passed with it (simulateFilePath), never
/// from the network. The file is loaded on first use and kept until a request
/// names another file; a file that cannot be loaded answers every request with
/// an error record saying why. A request the live transport would refuse
/// (QVCRequestShapes) is refused alike, before the file is read.
///
/// Every simulation handler of the process shares one thread, made on the
/// first request and ended when the last handler is destroyed; making a
/// handler starts none. Each handler's answers are delivered one at a time on
/// that thread, in the order they were asked, as the live transport does.
/// Destroying the handler answers every request of its own still waiting with
/// a "cancelled" error record and waits for those callbacks (unless it is
/// destroyed inside one of them).
class QVCPLATFORM_EXPORT QVCSimulationWebServiceHandler : public QVCWebServiceHandler {
public:
    QVCSimulationWebServiceHandler();
    ~QVCSimulationWebServiceHandler() override;

    /// Receives an exception that escaped an answer callback; by default it is dropped.
    void setExceptionHook(QVCTransportClient::ExceptionHook hook);

    void requestWithPath(const std::string& path, std::int64_t httpMethod, const std::string& contextMessageType,
                         const std::optional<QVCHeaders>& headers, const std::optional<QVCJSON>& body,
                         std::int64_t responseType, const std::optional<std::string>& simulateFilePath,
                         QVCResponseCompletion completion) override;

    /// The file this handler answers from, as far as it was read (used on the engine's thread only).
    struct LoadedFile;

private:
    std::shared_ptr<QVCTransportEngine> engine_;
    std::shared_ptr<QVCTransportClient> client_;
    std::shared_ptr<LoadedFile> file_;
};
