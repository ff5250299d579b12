// qvc_bench_generate: writes the offer-list answers the benchmarks and their
// peers read, one file per size plus the empty list, and prints one line per
// file with its size and an FNV-1a digest so that two runs can be compared.
//
//   qvc_bench_generate [--seed N] FOLDER

#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "bench/BenchFiles.h"
#include "bench/OfferListGenerator.h"

namespace {

std::uint64_t fnv1a(const std::string& text) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (unsigned char c : text) {
        hash ^= c;
        hash *= 0x100000001B3u;
    }
    return hash;
}

int usage() {
    std::fprintf(stderr, "usage: qvc_bench_generate [--seed N] FOLDER\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    std::uint64_t seed = qvcbench::kDefaultSeed;
    std::string folder;
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        if (argument == "--seed" && index + 1 < argc) {
            seed = std::stoull(argv[++index], nullptr, 0);
        } else if (!argument.empty() && argument[0] != '-' && folder.empty()) {
            folder = argument;
        } else {
            return usage();
        }
    }
    if (folder.empty()) {
        return usage();
    }
    try {
        std::vector<std::size_t> sizes(std::begin(qvcbench::kOfferListSizes), std::end(qvcbench::kOfferListSizes));
        sizes.push_back(0);
        for (std::size_t offers : sizes) {
            const std::string text =
                offers == 0 ? qvcbench::emptyOfferListAnswer() : qvcbench::offerListAnswer(offers, seed);
            const std::string path = folder + "/" + qvcbench::offerListFileName(offers);
            qvcbench::writeFile(path, text);
            std::printf("generated file=%s offers=%zu bytes=%zu fnv1a64=%016llx\n", path.c_str(), offers, text.size(),
                        static_cast<unsigned long long>(fnv1a(text)));
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvc_bench_generate: %s\n", error.what());
        return 1;
    }
    return 0;
}
