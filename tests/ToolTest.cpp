// The qvconsumer tool, run as a separate process against the shipped simulation file.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace {

namespace fs = std::filesystem;

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string quoted(const std::string& argument) {
    std::string text = "'";
    for (char c : argument) {
        text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return text + "'";
}

/// Runs the tool with the given arguments, the shipped simulation file and no
/// credentials or service settings from the test's own environment.
ToolRun runTool(const std::vector<std::string>& arguments) {
    static int counter = 0;
    fs::path base = fs::temp_directory_path() / ("qvc-tool-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    std::string command = "env -u QVCONSUMER_APP_ID -u QVCONSUMER_APP_KEY -u QVCONSUMER_SERVICE_URL "
                          "QVCONSUMER_RESOURCE_DIR=" + quoted(QVC_SOURCE_RESOURCE_DIR) + " " + quoted(QVC_TOOL_PATH);
    for (const auto& argument : arguments) {
        command += " " + quoted(argument);
    }
    command += " >" + quoted(base.string() + ".out") + " 2>" + quoted(base.string() + ".err") + " </dev/null";
    int raw = std::system(command.c_str());
    ToolRun run;
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = readFile(base.string() + ".out");
    run.err = readFile(base.string() + ".err");
    fs::remove(base.string() + ".out");
    fs::remove(base.string() + ".err");
    return run;
}

std::string golden(const std::string& name) {
    return readFile(fs::path(QVC_GOLDEN_DIR) / name);
}

}  // namespace
