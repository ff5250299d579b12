#pragma once

#include <exception>
#include <memory>

#include "QVConsumer/QVConsumerExport.h"
#include "platform/QVCResponse.h"
#include "platform/QVCWebServiceHandler.h"

/// Watches one call of the future or blocking form from inside the manager,
/// so that a call the library releases without calling its completion can
/// still say why: the last answer it received and the exception that ended it.
///
/// The observer of the call being issued is current on the issuing thread
/// (Scope); the manager's guard reports the exceptions it catches to it, and
/// each request the call makes carries it into its answer callback, where it
/// is current again for the requests issued from there. A call in the
/// callback form has no observer, and its callbacks run unwrapped.
class QVCONSUMER_EXPORT QVCCallObserver {
public:
    virtual ~QVCCallObserver();

    /// An answer callback of the call is about to read response.
    virtual void answered(const QVCResponse& response) = 0;
    /// An exception left an answer callback of the call, or the guard caught one.
    virtual void raised(std::exception_ptr exception) = 0;

    /// The observer of the call being issued or answered on this thread; null for none.
    static std::shared_ptr<QVCCallObserver> current();

    /// answer as it is when no observer is current; otherwise an answer
    /// callback that makes that observer current, tells it of the answer,
    /// runs answer and tells it of an exception that leaves answer before
    /// letting it go on to the platform unchanged.
    static QVCResponseCompletion watching(QVCResponseCompletion answer);

    /// Makes observer current on this thread for the scope's lifetime.
    class QVCONSUMER_EXPORT Scope {
    public:
        explicit Scope(std::shared_ptr<QVCCallObserver> observer);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        std::shared_ptr<QVCCallObserver> observer_;
        const std::shared_ptr<QVCCallObserver>* outer_;
    };
};
