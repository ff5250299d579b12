#pragma once

#include <stdexcept>

#include "QVConsumer/QVConsumerExport.h"

/// The one exception type the library raises: a document of the wrong shape,
/// a value that cannot be converted, or an absent value where a request body
/// needs one. Its message names the key or value at fault.
class QVCONSUMER_EXPORT QVCException : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    ~QVCException() override;
};
