// qvc_bench: Google Benchmark measurements of what the library does with an
// answer, through the manager's own operations, answered inside the request
// call by a TextAnswerHandler so that no transport or thread is measured.
//
//   qvc_bench [--qvc_data_dir=FOLDER] [Google Benchmark options]
//
// With --qvc_data_dir the offer lists are read from the files that
// qvc_bench_generate wrote there (the files the peers read); without it they
// are generated in memory with the same generator and seed.
//
// Every benchmark checks what each completion receives and stops with an
// error when it is not what the answer holds.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "QVConsumer/QVCConsumerInfo.h"
#include "QVConsumer/QVCMasterData.h"
#include "bench/AnswerFromText.h"
#include "bench/BenchFiles.h"
#include "bench/BenchManager.h"
#include "bench/OfferListGenerator.h"
#include "bench/TextAnswerHandler.h"

namespace {

std::string dataFolder;

/// The offer-list answer of the given size, read or generated once.
const std::string& offerListText(std::size_t offers) {
    static std::map<std::size_t, std::string> texts;
    auto found = texts.find(offers);
    if (found == texts.end()) {
        std::string text = dataFolder.empty()
                               ? qvcbench::offerListAnswer(offers)
                               : qvcbench::readFile(dataFolder + "/" + qvcbench::offerListFileName(offers));
        found = texts.emplace(offers, std::move(text)).first;
    }
    return found->second;
}

/// A counter of the time per unit, for a benchmark that handles `units`
/// things per iteration: seconds in the JSON output, shown with an SI prefix
/// ("12.9us") in the console.
benchmark::Counter timePer(double units) {
    return benchmark::Counter(units, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// Decodes the offer list answer once per iteration, the handler giving each
/// answer its text as `use` says.
void decodeOfferListRepeatedly(benchmark::State& state, qvcbench::TextAnswerHandler::Use use) {
    const auto offers = static_cast<std::size_t>(state.range(0));
    auto handler =
        std::make_shared<qvcbench::TextAnswerHandler>(offerListText(offers), qvcbench::offerListPath(), 0, use);
    auto manager = qvcbench::makeManager(0, handler);
    for (auto _ : state) {
        std::size_t received = 0;
        bool failed = false;
        manager->getAllOffersWithCompletionHandler([&](std::optional<std::vector<std::shared_ptr<QVCOffer>>> records,
                                                       QVConsumerManager::Error error, std::exception_ptr exception) {
            failed = !records || error || exception;
            received = records ? records->size() : 0;
        });
        if (failed || received != offers) {
            state.SkipWithError("the offer list completion did not receive every offer");
            break;
        }
    }
    if (handler->unexpected() > 0) {
        state.SkipWithError("the manager requested another path than the offer list");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(offers));
    state.counters["per_offer"] = timePer(static_cast<double>(offers));
}

void BM_OfferListDecode(benchmark::State& state) {
    decodeOfferListRepeatedly(state, qvcbench::TextAnswerHandler::Use::Repeatedly);
}
BENCHMARK(BM_OfferListDecode)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond)->UseRealTime();

/// The same with the answer text arriving in a new buffer each time (copied
/// in, parsed in place and freed with the records), as on the live path.
void BM_OfferListDecodeFreshBuffer(benchmark::State& state) {
    decodeOfferListRepeatedly(state, qvcbench::TextAnswerHandler::Use::FreshCopy);
}
BENCHMARK(BM_OfferListDecodeFreshBuffer)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond)->UseRealTime();

/// Only the first step of the decode: answer text to response (the parsed
/// document), for telling the two steps apart.
void BM_OfferListResponseFromText(benchmark::State& state) {
    const auto offers = static_cast<std::size_t>(state.range(0));
    const std::string& text = offerListText(offers);
    for (auto _ : state) {
        QVCResponse response = qvcbench::responseFromKeptText(text);
        const auto body = response.body();
        if (!body || !body->is_array() || simdjson::dom::array(*body).size() != offers) {
            state.SkipWithError("the response does not hold every offer");
            break;
        }
        benchmark::DoNotOptimize(response);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(offers));
    state.counters["per_offer"] = timePer(static_cast<double>(offers));
}
BENCHMARK(BM_OfferListResponseFromText)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond)->UseRealTime();

/// One call of an operation answered from the shipped simulation file's
/// answer to GET path; call(manager, received) starts it and sets received
/// when the completion got what it should.
template <typename Call>
void perCall(benchmark::State& state, const std::string& path, const char* failure, const Call& call) {
    auto handler = std::make_shared<qvcbench::TextAnswerHandler>(
        qvcbench::simulatedAnswerBody(qvcbench::shippedSimulationFile(), "GET", path), path);
    auto manager = qvcbench::makeManager(0, handler);
    for (auto _ : state) {
        bool received = false;
        call(*manager, received);
        if (!received) {
            state.SkipWithError(failure);
            break;
        }
    }
    state.counters["per_call"] = timePer(1);
}

void BM_MasterData(benchmark::State& state) {
    perCall(state, "lqsapi/consumers/v1/data", "the master data completion did not receive the reference lists",
            [](QVConsumerManager& manager, bool& received) {
                manager.getMasterDataWithCompletionWithCompletion([&](std::shared_ptr<QVCMasterData> masterData,
                                                                      QVConsumerManager::Error error,
                                                                      std::exception_ptr exception) {
                    received = masterData && !error && !exception && !masterData->states.empty();
                });
            });
}
BENCHMARK(BM_MasterData)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_AuthenticateConsumer(benchmark::State& state) {
    perCall(state, "lqsapi/consumers/v1/consumer/jdoe/authenticate",
            "the authentication completion did not receive consumer 1001",
            [](QVConsumerManager& manager, bool& received) {
                manager.authenticateConsumerWithUserName(
                    "jdoe", [&](std::shared_ptr<QVCConsumerInfo> consumer, QVConsumerManager::Error error,
                                std::exception_ptr exception) {
                        received = consumer && !error && !exception && consumer->consumerID == 1001;
                    });
            });
}
BENCHMARK(BM_AuthenticateConsumer)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_SignUpDocument(benchmark::State& state) {
    auto manager = qvcbench::makeManager(0);
    auto info = std::make_shared<QVCConsumerInfo>();
    info->firstName = "Zoë";
    info->lastName = "Müller-Øster";
    info->personalInfo->consumerName = "zmuller";
    info->personalInfo->dateOfBirth = "04-17";
    info->personalInfo->contactInfo->emailInfo->address = "zoe.muller@example.com";
    info->personalInfo->contactInfo->phoneInfo->number = "602-555-0143";
    info->personalInfo->contactInfo->addressInfo->line1 = "1200 Desert Bloom Rd";
    info->personalInfo->contactInfo->addressInfo->city = "Phoenix";
    info->personalInfo->contactInfo->addressInfo->stateCode = "AZ";
    info->personalInfo->contactInfo->addressInfo->postalCode = "85004";
    for (auto _ : state) {
        QVCJSON document = manager->signUpDocument(info);
        const auto consumers = document.find("consumers");
        if (consumers == document.end() || !consumers->contains("contactList")) {
            state.SkipWithError("the sign-up document has no consumer with a contact list");
            break;
        }
        benchmark::DoNotOptimize(document);
    }
    state.counters["per_call"] = timePer(1);
}
BENCHMARK(BM_SignUpDocument)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    // Take our own option out before Google Benchmark reads the rest.
    const char* const option = "--qvc_data_dir=";
    int kept = 1;
    for (int index = 1; index < argc; ++index) {
        if (std::strncmp(argv[index], option, std::strlen(option)) == 0) {
            dataFolder = argv[index] + std::strlen(option);
        } else {
            argv[kept++] = argv[index];
        }
    }
    argc = kept;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    try {
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvc_bench: %s\n", error.what());
        return 1;
    }
    benchmark::Shutdown();
    return 0;
}
