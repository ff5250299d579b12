// qvc_bench_rss: the resident memory of a process that decodes an offer-list
// answer through the manager's own path and keeps the records. Prints one line:
//
//   rss impl=library offers=N baseline_kib=B peak_kib=P after_kib=A heap_kib=H parser_kib=K
//
// baseline: VmRSS after reading the file, before decoding; peak: VmHWM, the
// highest resident size of the whole run; after: VmRSS while the records are
// held and the answer text and parsed document are gone (free memory that the
// allocator keeps counts here). heap: the bytes the allocator has handed out
// and not got back at that moment (glibc's mallinfo2): what the records hold,
// plus the storage of the finished answer document that the platform keeps for
// the next answer (allocated whole, resident only where the answer used it).
// parser: what the thread that parsed the answer still held besides the
// records just before it ended, which is the capacity its thread-local JSON
// parser keeps between answers (-1 where mallinfo2 is missing).
//
// The decode runs on a thread of its own that ends after it, as an answer is
// decoded on a transport's thread.
//
//   qvc_bench_rss FILE

#include <cstdio>
#include <exception>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "bench/BenchFiles.h"
#include "bench/BenchManager.h"

namespace {

/// The bytes in use on the heap, in KiB; -1 where the allocator does not tell.
long heapInUseKiB() {
#if defined(__GLIBC__)
    const struct mallinfo2 heap = mallinfo2();
    return static_cast<long>((heap.uordblks + heap.hblkhd) / 1024);
#else
    return -1;
#endif
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: qvc_bench_rss FILE\n");
        return 2;
    }
    try {
        std::string text = qvcbench::readFile(argv[1]);
        const qvcbench::ProcessMemory baseline = qvcbench::readProcessMemory();
        std::vector<std::shared_ptr<QVCOffer>> records;
        std::string failure;
        long heapWithParser = -1;
        std::thread transport([&] {
            try {
                records = qvcbench::decodeOfferList(std::move(text));
                heapWithParser = heapInUseKiB();
            } catch (const std::exception& error) {
                failure = error.what();
            }
        });
        transport.join();
        if (!failure.empty()) {
            std::fprintf(stderr, "qvc_bench_rss: %s\n", failure.c_str());
            return 1;
        }
        const qvcbench::ProcessMemory after = qvcbench::readProcessMemory();
        const long heap = heapInUseKiB();
        if (records.empty()) {
            std::fprintf(stderr, "qvc_bench_rss: %s holds no offer\n", argv[1]);
            return 1;
        }
        std::printf(
            "rss impl=library offers=%zu baseline_kib=%ld peak_kib=%ld after_kib=%ld heap_kib=%ld parser_kib=%ld\n",
            records.size(), baseline.residentKiB, after.peakKiB, after.residentKiB, heap,
            heap >= 0 && heapWithParser >= 0 ? heapWithParser - heap : -1);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvc_bench_rss: %s\n", error.what());
        return 1;
    }
    return 0;
}
