#pragma once

#include <optional>
#include <string>

#include "QVConsumer/QVConsumerExport.h"

/// Finds the resource files shipped with the library.
///
/// Lookup order for the file "<name>.<type>":
///  1. the folder named by the environment variable QVCONSUMER_RESOURCE_DIR;
///     when the variable is set, no other folder is searched;
///  2. the installed data folder, PREFIX/share/QVConsumer, found relative to
///     the file that holds the library's code: the shared library in
///     PREFIX/lib..., or the program in PREFIX/bin that links the static
///     library. No absolute path is compiled in, so an install moved to
///     another prefix (or packaged) still finds its file.
class QVCONSUMER_EXPORT QVCBundle {
public:
    /// The environment variable that names the one folder to search.
    static constexpr const char* resourceDirVariable = "QVCONSUMER_RESOURCE_DIR";

    /// The full path of the first regular file found; none when there is none.
    static std::optional<std::string> pathForResource(const std::string& name, const std::string& type);
};
