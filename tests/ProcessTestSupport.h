#pragma once

// Running the project's programs (the qvconsumer tool, the service) as separate processes.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

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

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

/// A program started with stdin from /dev/null and its stdout on a pipe, or
/// both outputs into the files named; killed at the end if still running.
class ChildProcess {
public:
    explicit ChildProcess(const std::vector<std::string>& command, const std::vector<std::string>& files = {}) {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        std::vector<char*> argv;
        for (const auto& argument : command) {
            argv.push_back(const_cast<char*>(argument.c_str()));
        }
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        for (std::size_t i = 0; i < files.size(); ++i) {
            posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO + int(i), files[i].c_str(),
                                             O_WRONLY | O_CREAT | O_TRUNC, 0600);
        }
        posix_spawn_file_actions_addclose(&actions, ends[0]);
        EXPECT_EQ(posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ), 0) << argv[0];
        posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
        out_ = ends[0];
    }
    ~ChildProcess() {
        if (pid_ > 0) {
            stop(SIGKILL);
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

    /// Sends the signal, if any, and waits for the program to end: its exit status, -1 when a signal ended it.
    int stop(int signal = 0) {
        if (signal) {
            ::kill(pid_, signal);
        }
        int raw = 0;
        ::waitpid(pid_, &raw, 0);
        pid_ = -1;
        return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    }

private:
    pid_t pid_ = -1;
    int out_ = -1;
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
    std::vector<std::string> command = {
        "/usr/bin/env",       "-u", "QVCONSUMER_APP_ID",      "-u",
        "QVCONSUMER_APP_KEY", "-u", "QVCONSUMER_SERVICE_URL", "QVCONSUMER_RESOURCE_DIR=" QVC_SOURCE_RESOURCE_DIR};
    command.insert(command.end(), settings.begin(), settings.end());
    command.push_back(QVC_TOOL_PATH);
    command.insert(command.end(), arguments.begin(), arguments.end());
    const int status = ChildProcess(command, {out, err}).stop();
    return {status, output.empty() ? readFile(out) : "", readFile(err)};
}
#endif
