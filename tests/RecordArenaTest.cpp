#include <algorithm>
#include <array>
#include <cstdint>
#include <thread>
#include <vector>

#include "OffersTestSupport.h"
#include "QVConsumer/QVCReader.h"
#include "QVConsumer/QVCRecordArena.h"
#include "QVConsumer/QVCReservationProduct.h"

namespace {

// Enough records for every block size and several full blocks, texts long
// enough to live outside the records, and one object larger than any block.
TEST(RecordArena, RecordsAreDisjointAlignedAndOutliveTheArenaOnAnyThread) {
    constexpr int count = 3000;
    std::vector<std::shared_ptr<QVCReservationProduct>> products;
    std::shared_ptr<std::array<char, 100 * 1024>> large;
    {
        QVCRecordArena arena;
        for (int index = 0; index < count; ++index) {
            products.push_back(arena.make<QVCReservationProduct>());
            products.back()->name = "a product name too long for the string itself " + std::to_string(index);
        }
        large = arena.make<std::array<char, 100 * 1024>>();
        large->fill('x');
    }
    std::vector<std::uintptr_t> places;
    for (const auto& product : products) {
        places.push_back(reinterpret_cast<std::uintptr_t>(product.get()));
        EXPECT_EQ(places.back() % alignof(QVCReservationProduct), 0U);
    }
    std::sort(places.begin(), places.end());
    for (std::size_t index = 1; index < places.size(); ++index) {
        ASSERT_GE(places[index] - places[index - 1], sizeof(QVCReservationProduct)) << "records overlap";
    }

    // Every other record is released on another thread; the rest stay whole.
    std::vector<std::shared_ptr<QVCReservationProduct>> released;
    for (std::size_t index = 0; index < products.size(); index += 2) {
        released.push_back(std::move(products[index]));
    }
    std::thread([moved = std::move(released)]() mutable { moved.clear(); }).join();
    for (std::size_t index = 1; index < products.size(); index += 2) {
        EXPECT_EQ(*products[index]->name, "a product name too long for the string itself " + std::to_string(index));
    }
    EXPECT_EQ(std::count(large->begin(), large->end(), 'x'), 100 * 1024);
}

TEST(RecordArena, AnOfferKeptFromAListStaysWholeWhenTheOthersAreReleased) {
    const auto document = QVCReader::parse(QVCJSON::array({offerEntry("1", "A"), offerEntry("2", "B")}));
    std::shared_ptr<QVCOffer> kept;
    {
        QVCRecordArena arena;
        const auto first = QVCOffer::initWithResponse(document->root().at(0), arena);
        kept = QVCOffer::initWithResponse(document->root().at(1), arena);
        EXPECT_EQ(first->offerCode, "A");
    }
    EXPECT_EQ(kept->offerCode, "B");
    EXPECT_EQ(kept->offerDetails->type->percentOff, "20");
    ASSERT_TRUE(kept->offerDetails->products && kept->offerDetails->products->size() == 2);
    EXPECT_EQ((*kept->offerDetails->products)[0]->name, "Tea");
}

}  // namespace

TEST(RecordArena, AFreedLargestBlockServesTheNextAnswer) {
    // The same allocations in two arenas one after the other: the first
    // allocation in a 64 KiB block lands where the freed one was.
    auto lastOfFirstLargeBlock = [] {
        QVCRecordArena arena;
        std::vector<void*> made;
        std::size_t total = 0;
        while (total < (4 + 8 + 16 + 32) * 1024 + 1024) {
            made.push_back(arena.allocate(1000));
            total += 1024;
        }
        void* inLargeBlock = made.back();
        for (void* pointer : made) {
            QVCRecordArena::release(pointer);
        }
        return inLargeBlock;
    };
    void* first = lastOfFirstLargeBlock();
    EXPECT_EQ(lastOfFirstLargeBlock(), first);
}
