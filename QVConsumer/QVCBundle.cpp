#include "QVConsumer/QVCBundle.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

namespace {

/// The folder of the file that holds this code: the shared library when the
/// library is linked dynamically, else the running program.
std::filesystem::path moduleFolder() {
    static const char anchor = 0;
    Dl_info info{};
    link_map* module = nullptr;
    std::error_code error;
    if (dladdr1(&anchor, &info, reinterpret_cast<void**>(&module), RTLD_DL_LINKMAP) != 0 && module && module->l_name &&
        *module->l_name) {
        return std::filesystem::weakly_canonical(module->l_name, error).parent_path();
    }
    // The main program's link map has no name.
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

}  // namespace

std::optional<std::string> QVCBundle::pathForResource(const std::string& name, const std::string& type) {
    std::vector<std::filesystem::path> folders;
    if (const char* chosen = std::getenv(resourceDirVariable)) {
        folders.emplace_back(chosen);
    } else {
        const auto module = moduleFolder();
        if (!module.empty()) {
            folders.push_back(module / QVC_RESOURCES_FROM_LIBDIR);
            folders.push_back(module / QVC_RESOURCES_FROM_BINDIR);
        }
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
