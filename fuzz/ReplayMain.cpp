// Runs a harness's entry function over every file of the folders and files
// named on the command line, without libFuzzer: the corpus replay of ctest.
// A finding aborts, as it does under the fuzzer; a clean run prints the count.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void replay(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path root(argv[i]);
        if (!std::filesystem::is_directory(root)) {
            replay(root), ++count;
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
            if (entry.is_regular_file()) {
                replay(entry.path()), ++count;
            }
        }
    }
    std::cout << "replayed " << count << " inputs\n";
    return count > 0 ? 0 : 1;
}
