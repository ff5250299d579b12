// qvc_bench_rss: the resident memory of a process that decodes an offer-list
// answer through the manager's own path and keeps the records. Prints one line:
//
//   rss impl=library offers=N baseline_kib=B peak_kib=P after_kib=A
//
// baseline: after reading the file, before decoding; peak: VmHWM, the highest
// resident size of the whole run; after: VmRSS while the records are held and
// the answer text and parsed document are gone.
//
//   qvc_bench_rss FILE

#include <cstdio>
#include <exception>
#include <string>

#include "bench/BenchFiles.h"
#include "bench/BenchManager.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: qvc_bench_rss FILE\n");
        return 2;
    }
    try {
        std::string text = qvcbench::readFile(argv[1]);
        const qvcbench::ProcessMemory baseline = qvcbench::readProcessMemory();
        const auto records = qvcbench::decodeOfferList(std::move(text));
        const qvcbench::ProcessMemory after = qvcbench::readProcessMemory();
        if (records.empty()) {
            std::fprintf(stderr, "qvc_bench_rss: %s holds no offer\n", argv[1]);
            return 1;
        }
        std::printf("rss impl=library offers=%zu baseline_kib=%ld peak_kib=%ld after_kib=%ld\n", records.size(),
                    baseline.residentKiB, after.peakKiB, after.residentKiB);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvc_bench_rss: %s\n", error.what());
        return 1;
    }
    return 0;
}
