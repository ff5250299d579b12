#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

/// Reports a fault the sanitizers cannot see (a completion called twice, an
/// exception where none may escape) and stops, so that libFuzzer keeps the input.
[[noreturn]] inline void fuzzFinding(const std::string& what) {
    std::cerr << "fuzz finding: " << what << "\n";
    std::abort();
}

/// The fuzz input as text.
inline std::string_view fuzzText(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}
