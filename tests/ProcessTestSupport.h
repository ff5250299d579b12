#pragma once

// Running the project's programs (the qvconsumer tool, the service) as separate processes.
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "TestSupport.h"

extern char** environ;

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// The argument quoted for the shell.
inline std::string quoted(const std::string& argument) {
    std::string text = "'";
    for (char c : argument) {
        text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return text + "'";
}

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

#ifdef QVC_TOOL_PATH
/// Runs the tool with the given arguments, the shipped simulation file, no
/// credentials or service settings from the test's own environment but the
/// NAME=VALUE settings given; stdout goes to output when one is named.
inline ToolRun runTool(const std::vector<std::string>& arguments, const std::string& output = "",
                       const std::vector<std::string>& settings = {}) {
    TemporaryFolder folder;
    const std::string out = output.empty() ? (folder.path() / "out").string() : output,
                      err = (folder.path() / "err").string();
    std::string command =
        "env -u QVCONSUMER_APP_ID -u QVCONSUMER_APP_KEY -u QVCONSUMER_SERVICE_URL "
        "QVCONSUMER_RESOURCE_DIR=" +
        quoted(QVC_SOURCE_RESOURCE_DIR);
    for (const auto& setting : settings) {
        command += " " + quoted(setting);
    }
    command += " " + quoted(QVC_TOOL_PATH);
    for (const auto& argument : arguments) {
        command += " " + quoted(argument);
    }
    command += " >" + quoted(out) + " 2>" + quoted(err) + " </dev/null";
    int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, output.empty() ? readFile(out) : "", readFile(err)};
}
#endif

/// A program started with its stdout on a pipe; killed at the end if still running.
class ChildProcess {
public:
    explicit ChildProcess(const std::vector<std::string>& command) {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        std::vector<char*> argv;
        for (const auto& argument : command) {
            argv.push_back(const_cast<char*>(argument.c_str()));
        }
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, ends[0]);
        EXPECT_EQ(posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ), 0) << argv[0];
        posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
        out_ = ends[0];
    }
    ~ChildProcess() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        ::close(out_);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// The next line of its stdout, without the newline; what came when it
    /// closed its stdout or did not finish the line within 10 s.
    std::string readLine() {
        std::string line;
        char c = 0;
        pollfd readable{out_, POLLIN, 0};
        while (::poll(&readable, 1, 10000) == 1 && ::read(out_, &c, 1) == 1 && c != '\n') {
            line += c;
        }
        return line;
    }

    /// Sends the signal and waits for the program to end: its exit status, -1 when a signal ended it.
    int stop(int signal) {
        ::kill(pid_, signal);
        int raw = 0;
        ::waitpid(pid_, &raw, 0);
        pid_ = -1;
        return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    }

private:
    pid_t pid_ = -1;
    int out_ = -1;
};
