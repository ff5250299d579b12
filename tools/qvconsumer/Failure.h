#pragma once

#include <stdexcept>
#include <string>

/// The tool's exit statuses.
enum ExitStatus : int {
    ExitSuccess = 0,
    ExitOutput = 1,        ///< the output could not be written
    ExitUsage = 2,         ///< bad command line or input file; nothing was sent
    ExitServiceError = 3,  ///< the service or the transport reported an error
    ExitException = 4,     ///< the library raised an exception
    ExitNoAnswer = 5,      ///< no answer came within the time limit
};

/// Ends the command with a one-line message on stderr and an exit status.
class Failure : public std::runtime_error {
public:
    Failure(ExitStatus status, const std::string& message) : std::runtime_error(message), status_(status) {}
    ExitStatus status() const { return status_; }

private:
    ExitStatus status_;
};
