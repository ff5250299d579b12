#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <vector>

#include "Input.h"
#include "Present.h"
#include "Session.h"

namespace CLI {
class App;
}

/// What a subcommand shows: its presentation, printed as JSON with --json,
/// otherwise by print.
struct Output {
    Presented presented;
    void (*print)(std::ostream&, const Presented&);
};

/// What a subcommand's run function works with.
struct Context {
    Session& session;
    const Input& input;
    /// The --user consumer's profile when the subcommand signs in, otherwise null.
    std::shared_ptr<QVCConsumerInfo> signedIn;
};

/// Whom a subcommand acts for.
enum class ForConsumer {
    Nobody,   ///< no consumer: --user and --consumer-id are not used
    IfGiven,  ///< --user is authenticated first when given
    Needed,   ///< refused (ExitUsage) before anything is sent without --user or --consumer-id
};

/// One subcommand of the tool. Each function may be null when there is nothing to do.
struct Subcommand {
    const char* name;
    const char* help;
    /// Declares its arguments and options, bound to members of Input.
    void (*declare)(CLI::App&, Input&);
    /// Checks and converts the input before anything is sent (Failure, ExitUsage).
    void (*check)(Input&);
    /// Whether --user is authenticated first, so that the command acts for that consumer.
    ForConsumer consumer;
    /// Calls the library and presents the answer; none when it printed as it went.
    std::optional<Output> (*run)(Context&);
};

/// Every subcommand, in the order --help lists them.
const std::vector<Subcommand>& subcommands();

/// Runs subcommand in session: check, sign-in, run, then the output on
/// stdout. Returns the exit status or throws Failure.
int perform(const Subcommand& subcommand, Session& session, Input& input);
