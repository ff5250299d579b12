#pragma once

#include <optional>
#include <string>

/// Finds the resource files shipped with the library.
///
/// Lookup order for the file "<name>.<type>":
///  1. the folder named by the environment variable QVCONSUMER_RESOURCE_DIR;
///     when the variable is set, no other folder is searched;
///  2. the installed data folder (<prefix>/share/QVConsumer);
///  3. the resources/ folder of the source tree the library was built from.
class QVCBundle {
public:
    /// The environment variable that names the one folder to search.
    static constexpr const char* resourceDirVariable = "QVCONSUMER_RESOURCE_DIR";

    /// The full path of the first regular file found; none when there is none.
    static std::optional<std::string> pathForResource(const std::string& name, const std::string& type);
};
