#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/QVCJSON.h"

struct sqlite3;

/// What the reference service keeps, in one SQLite database: the reference
/// lists, consumers (as the consumer documents authentication answers with),
/// loyalty balances, offers, redemptions and device tokens. Every operation is
/// one transaction behind one lock, so requests may arrive concurrently.
/// Throws std::runtime_error naming the database when SQLite fails.
class QVCServiceStore {
public:
    /// Opens (creating when needed) the database at path; ":memory:" keeps it
    /// in memory. A file is used by one store at a time: throws when another
    /// (in this process or another) has it open.
    explicit QVCServiceStore(const std::string& path);
    ~QVCServiceStore();
    QVCServiceStore(const QVCServiceStore&) = delete;
    QVCServiceStore& operator=(const QVCServiceStore&) = delete;

    /// Whether seed data was ever loaded into this database.
    bool seeded();
    /// Replaces every table's content with the seed: {"masterData": {...},
    /// "consumers": [document...], "balances": [{"consumerId", "points", "status"}],
    /// "offers": [{"facilityId": n or null, "document": {...}}]}.
    void load(const QVCJSON& seed);

    QVCJSON masterData();
    std::optional<QVCJSON> consumerNamed(const std::string& userName);
    std::optional<QVCJSON> consumer(std::int64_t consumerID);

    enum class Outcome { Done, Repeated, NotFound, Conflict, LimitReached, NotEnoughPoints };
    struct Result {
        Outcome outcome;
        std::int64_t id = 0;  ///< the consumer or redemption id
    };

    /// Stores a new consumer under a new id, as the document documentFor(id)
    /// makes; Conflict when the user name is taken.
    Result signUp(const std::string& userName, const std::function<QVCJSON(std::int64_t)>& documentFor);
    /// Replaces the consumer of the document's "consumerId"; NotFound, or
    /// Conflict when the new user name belongs to another consumer.
    Result update(const QVCJSON& document);

    struct Balance {
        std::int64_t points = 0;
        std::optional<std::string> status;
    };
    std::optional<Balance> balance(std::int64_t consumerID);

    /// The offer documents, in seed order: those of facilityID (and those for every facility).
    QVCJSON offers(std::optional<std::int64_t> facilityID);
    QVCJSON offersWithCode(const std::string& offerCode);
    std::optional<QVCJSON> offerWithID(const std::string& offerID);
    std::optional<QVCJSON> offerWithConsumerOfferID(const std::string& consumerOfferID);

    struct Redemption {
        std::int64_t consumerID;
        std::string consumerOfferID;
        std::string referenceID;
        std::string amount;
        std::string transactionDateTime;
        std::optional<std::int64_t> redeemLimit;
        std::int64_t points;
    };
    /// Records a redemption and deducts its points. Repeated (with the first
    /// one's id) for a consumer offer id and reference id already redeemed;
    /// LimitReached when the consumer used the offer redeemLimit times;
    /// NotEnoughPoints when the balance is below the points.
    Result redeem(const Redemption& redemption);

    void registerDevice(std::int64_t consumerID, const QVCJSON& token, const std::string& deviceType,
                        std::int64_t enPush);

    /// Consumers, balances, redemptions and device tokens.
    QVCJSON state();

private:
    class Statement;
    /// Takes the file for this store alone; throws when another store holds it.
    void claim();
    void execute(const std::string& sql);
    template <typename Work>
    auto transaction(Work work);

    std::string path_;
    sqlite3* database_ = nullptr;
    int lock_ = -1;
    std::mutex mutex_;
};
