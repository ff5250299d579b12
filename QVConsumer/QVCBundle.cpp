#include "QVConsumer/QVCBundle.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

std::optional<std::string> QVCBundle::pathForResource(const std::string& name, const std::string& type) {
    std::vector<std::filesystem::path> folders;
    if (const char* chosen = std::getenv(resourceDirVariable)) {
        folders.emplace_back(chosen);
    } else {
        folders.emplace_back(QVC_INSTALL_RESOURCE_DIR);
        folders.emplace_back(QVC_SOURCE_RESOURCE_DIR);
    }
    for (const auto& folder : folders) {
        if (folder.empty()) {
            continue;
        }
        std::error_code error;
        auto candidate = folder / (name + "." + type);
        if (std::filesystem::is_regular_file(candidate, error)) {
            return std::filesystem::absolute(candidate, error).lexically_normal().string();
        }
    }
    return std::nullopt;
}
