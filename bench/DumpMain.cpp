// qvc_bench_dump: decodes an offer-list answer file through the manager's own
// path and writes one listing line per record (see qvcbench::offerListing),
// so that the peers' records can be compared with the library's byte for byte.
//
//   qvc_bench_dump FILE

#include <cstdio>
#include <exception>
#include <string>

#include "bench/BenchFiles.h"
#include "bench/BenchManager.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: qvc_bench_dump FILE\n");
        return 2;
    }
    try {
        const auto records = qvcbench::decodeOfferList(qvcbench::readFile(argv[1]));
        for (const auto& record : records) {
            const std::string line = qvcbench::offerListing(*record);
            std::fwrite(line.data(), 1, line.size(), stdout);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvc_bench_dump: %s\n", error.what());
        return 1;
    }
    return 0;
}
