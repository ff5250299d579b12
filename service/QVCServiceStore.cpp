#include "service/QVCServiceStore.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <unistd.h>

#include "service/QVCServiceDocuments.h"

#include <stdexcept>
#include <utility>

namespace {

constexpr const char* schema = R"(
CREATE TABLE IF NOT EXISTS meta (key TEXT PRIMARY KEY, value TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS master_data (id INTEGER PRIMARY KEY CHECK (id = 1), document TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS consumers (
  consumer_id INTEGER PRIMARY KEY, user_name TEXT NOT NULL UNIQUE, document TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS balances (consumer_id INTEGER PRIMARY KEY, points INTEGER NOT NULL, status TEXT);
CREATE TABLE IF NOT EXISTS offers (
  position INTEGER PRIMARY KEY, consumer_offer_id TEXT NOT NULL UNIQUE, offer_id TEXT, offer_code TEXT,
  facility_id INTEGER, document TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS redemptions (
  redemption_id INTEGER PRIMARY KEY, consumer_id INTEGER NOT NULL, consumer_offer_id TEXT NOT NULL,
  reference_id TEXT NOT NULL, amount TEXT NOT NULL, transaction_date_time TEXT NOT NULL, points INTEGER NOT NULL,
  UNIQUE (consumer_id, consumer_offer_id, reference_id));
CREATE TABLE IF NOT EXISTS device_tokens (
  consumer_id INTEGER PRIMARY KEY, token TEXT NOT NULL, device_type TEXT NOT NULL, en_push INTEGER NOT NULL);
)";

/// First ids handed out, above those of the shipped data.
constexpr std::int64_t firstConsumerID = 1001;
constexpr std::int64_t firstRedemptionID = 70001;

/// The text of a document member that may be a text or a number; "" when it is absent.
std::string textOf(const QVCJSON& value) {
    return value.is_null() ? std::string() : QVCServiceDocuments::text(value);
}

}  // namespace

/// One prepared SQLite statement: bind by position (from 1), step, read columns (from 0).
class QVCServiceStore::Statement {
public:
    Statement(QVCServiceStore& store, const char* sql) : store_(store) {
        check(sqlite3_prepare_v2(store.database_, sql, -1, &statement_, nullptr));
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& bind(int index, const std::string& text) {
        check(sqlite3_bind_text(statement_, index, text.c_str(), static_cast<int>(text.size()), SQLITE_TRANSIENT));
        return *this;
    }
    Statement& bind(int index, std::int64_t number) {
        check(sqlite3_bind_int64(statement_, index, number));
        return *this;
    }
    Statement& bind(int index, const std::optional<std::int64_t>& number) {
        return number ? bind(index, *number) : (check(sqlite3_bind_null(statement_, index)), *this);
    }
    Statement& bind(int index, const std::optional<std::string>& text) {
        return text ? bind(index, *text) : (check(sqlite3_bind_null(statement_, index)), *this);
    }
    /// Steps once: true while a row is there.
    bool step() {
        const int status = sqlite3_step(statement_);
        if (status != SQLITE_ROW && status != SQLITE_DONE) {
            check(status);
        }
        return status == SQLITE_ROW;
    }
    std::int64_t integer(int column) const { return sqlite3_column_int64(statement_, column); }
    bool isNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }
    std::string text(int column) const {
        const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
        return bytes ? std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)))
                     : std::string();
    }
    QVCJSON json(int column) const { return QVCJSON::parse(text(column)); }

private:
    void check(int status) const {
        if (status != SQLITE_OK) {
            throw std::runtime_error("database \"" + store_.path_ + "\": " + sqlite3_errmsg(store_.database_));
        }
    }
    QVCServiceStore& store_;
    sqlite3_stmt* statement_ = nullptr;
};

QVCServiceStore::QVCServiceStore(const std::string& path) : path_(path) {
    if (sqlite3_open_v2(path.c_str(), &database_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX,
                        nullptr) != SQLITE_OK) {
        const std::string reason = database_ ? sqlite3_errmsg(database_) : "out of memory";
        sqlite3_close(database_);
        throw std::runtime_error("cannot open database \"" + path + "\": " + reason);
    }
    try {
        claim();
        execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;");
        execute(schema);
    } catch (...) {
        sqlite3_close(database_);
        if (lock_ >= 0) {
            close(lock_);
        }
        throw;
    }
}

QVCServiceStore::~QVCServiceStore() {
    sqlite3_close(database_);
    if (lock_ >= 0) {
        close(lock_);
    }
}

void QVCServiceStore::claim() {
    if (path_ == ":memory:" || path_.empty()) {
        return;
    }
    // An advisory lock of its own on the file, beside SQLite's: held as long as
    // this store lives (and dropped by the system when the process dies).
    lock_ = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (lock_ < 0 || flock(lock_, LOCK_EX | LOCK_NB) != 0) {
        throw std::runtime_error("database \"" + path_ + "\" is in use by another service");
    }
}

void QVCServiceStore::execute(const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
        const std::string reason = message ? message : sqlite3_errmsg(database_);
        sqlite3_free(message);
        throw std::runtime_error("database \"" + path_ + "\": " + reason);
    }
}

template <typename Work>
auto QVCServiceStore::transaction(Work work) {
    std::lock_guard<std::mutex> lock(mutex_);
    execute("BEGIN IMMEDIATE");
    try {
        auto result = work();
        execute("COMMIT");
        return result;
    } catch (...) {
        sqlite3_exec(database_, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

bool QVCServiceStore::seeded() {
    return transaction([&] { return Statement(*this, "SELECT 1 FROM meta WHERE key = 'seeded'").step(); });
}

void QVCServiceStore::load(const QVCJSON& seed) {
    transaction([&] {
        execute(
            "DELETE FROM master_data; DELETE FROM consumers; DELETE FROM balances; DELETE FROM offers;"
            "DELETE FROM redemptions; DELETE FROM device_tokens;"
            "INSERT OR REPLACE INTO meta VALUES ('seeded', '1');");
        Statement(*this, "INSERT INTO master_data VALUES (1, ?)")
            .bind(1, seed.value("masterData", QVCJSON::object()).dump())
            .step();
        for (const auto& document : seed.value("consumers", QVCJSON::array())) {
            Statement(*this, "INSERT OR REPLACE INTO consumers VALUES (?, ?, ?)")
                .bind(1, document.at("consumerId").get<std::int64_t>())
                .bind(2, document.at("userId").get<std::string>())
                .bind(3, document.dump())
                .step();
        }
        for (const auto& balance : seed.value("balances", QVCJSON::array())) {
            Statement(*this, "INSERT OR REPLACE INTO balances VALUES (?, ?, ?)")
                .bind(1, balance.at("consumerId").get<std::int64_t>())
                .bind(2, balance.at("points").get<std::int64_t>())
                .bind(3, balance.contains("status") ? std::optional<std::string>(balance.at("status")) : std::nullopt)
                .step();
        }
        for (const auto& offer : seed.value("offers", QVCJSON::array())) {
            const auto& document = offer.at("document");
            const auto facility = offer.value("facilityId", QVCJSON());
            Statement(*this,
                      "INSERT OR IGNORE INTO offers (consumer_offer_id, offer_id, offer_code, facility_id, document) "
                      "VALUES (?, ?, ?, ?, ?)")
                .bind(1, textOf(document.value("consumerOfferId", QVCJSON())))
                .bind(2, textOf(document.value("offer", QVCJSON::object()).value("offerId", QVCJSON())))
                .bind(3, textOf(document.value("offerCode", QVCJSON())))
                .bind(4, facility.is_number_integer() ? std::optional<std::int64_t>(facility.get<std::int64_t>())
                                                      : std::nullopt)
                .bind(5, document.dump())
                .step();
        }
        return true;
    });
}

QVCJSON QVCServiceStore::masterData() {
    return transaction([&] {
        Statement query(*this, "SELECT document FROM master_data");
        return query.step() ? query.json(0) : QVCJSON::object();
    });
}

std::optional<QVCJSON> QVCServiceStore::consumerNamed(const std::string& userName) {
    return transaction([&]() -> std::optional<QVCJSON> {
        Statement query(*this, "SELECT document FROM consumers WHERE user_name = ?");
        query.bind(1, userName);
        return query.step() ? std::optional<QVCJSON>(query.json(0)) : std::nullopt;
    });
}

std::optional<QVCJSON> QVCServiceStore::consumer(std::int64_t consumerID) {
    return transaction([&]() -> std::optional<QVCJSON> {
        Statement query(*this, "SELECT document FROM consumers WHERE consumer_id = ?");
        query.bind(1, consumerID);
        return query.step() ? std::optional<QVCJSON>(query.json(0)) : std::nullopt;
    });
}

QVCServiceStore::Result QVCServiceStore::signUp(const std::string& userName,
                                                const std::function<QVCJSON(std::int64_t)>& documentFor) {
    return transaction([&] {
        Statement taken(*this, "SELECT 1 FROM consumers WHERE user_name = ?");
        if (taken.bind(1, userName).step()) {
            return Result{Outcome::Conflict};
        }
        Statement next(*this, "SELECT MAX(COALESCE(MAX(consumer_id) + 1, 0), ?) FROM consumers");
        next.bind(1, firstConsumerID).step();
        const std::int64_t id = next.integer(0);
        Statement(*this, "INSERT INTO consumers VALUES (?, ?, ?)")
            .bind(1, id)
            .bind(2, userName)
            .bind(3, documentFor(id).dump())
            .step();
        Statement(*this, "INSERT OR IGNORE INTO balances VALUES (?, 0, NULL)").bind(1, id).step();
        return Result{Outcome::Done, id};
    });
}

QVCServiceStore::Result QVCServiceStore::update(const QVCJSON& document) {
    return transaction([&] {
        const auto id = document.at("consumerId").get<std::int64_t>();
        const auto userName = document.at("userId").get<std::string>();
        Statement holder(*this, "SELECT consumer_id FROM consumers WHERE user_name = ?");
        if (holder.bind(1, userName).step() && holder.integer(0) != id) {
            return Result{Outcome::Conflict, id};
        }
        Statement(*this, "UPDATE consumers SET user_name = ?, document = ? WHERE consumer_id = ?")
            .bind(1, userName)
            .bind(2, document.dump())
            .bind(3, id)
            .step();
        return Result{sqlite3_changes(database_) == 0 ? Outcome::NotFound : Outcome::Done, id};
    });
}

std::optional<QVCServiceStore::Balance> QVCServiceStore::balance(std::int64_t consumerID) {
    return transaction([&]() -> std::optional<Balance> {
        Statement query(*this, "SELECT points, status FROM balances WHERE consumer_id = ?");
        if (!query.bind(1, consumerID).step()) {
            return std::nullopt;
        }
        return Balance{query.integer(0), query.isNull(1) ? std::nullopt : std::optional<std::string>(query.text(1))};
    });
}

namespace {
template <typename Query>
QVCJSON documents(Query& query) {
    QVCJSON list = QVCJSON::array();
    while (query.step()) {
        list.push_back(query.json(0));
    }
    return list;
}
}  // namespace

QVCJSON QVCServiceStore::offers(std::optional<std::int64_t> facilityID) {
    return transaction([&] {
        Statement query(*this,
                        "SELECT document FROM offers WHERE ?1 IS NULL OR facility_id IS NULL OR facility_id = ?1 "
                        "ORDER BY position");
        query.bind(1, facilityID);
        return documents(query);
    });
}

QVCJSON QVCServiceStore::offersWithCode(const std::string& offerCode) {
    return transaction([&] {
        Statement query(*this, "SELECT document FROM offers WHERE offer_code = ? ORDER BY position");
        query.bind(1, offerCode);
        return documents(query);
    });
}

std::optional<QVCJSON> QVCServiceStore::offerWithID(const std::string& offerID) {
    return transaction([&]() -> std::optional<QVCJSON> {
        Statement query(*this, "SELECT document FROM offers WHERE offer_id = ? ORDER BY position");
        return query.bind(1, offerID).step() ? std::optional<QVCJSON>(query.json(0)) : std::nullopt;
    });
}

std::optional<QVCJSON> QVCServiceStore::offerWithConsumerOfferID(const std::string& consumerOfferID) {
    return transaction([&]() -> std::optional<QVCJSON> {
        Statement query(*this, "SELECT document FROM offers WHERE consumer_offer_id = ?");
        return query.bind(1, consumerOfferID).step() ? std::optional<QVCJSON>(query.json(0)) : std::nullopt;
    });
}

QVCServiceStore::Result QVCServiceStore::redeem(const Redemption& redemption) {
    return transaction([&] {
        Statement earlier(*this,
                          "SELECT redemption_id FROM redemptions "
                          "WHERE consumer_id = ? AND consumer_offer_id = ? AND reference_id = ?");
        earlier.bind(1, redemption.consumerID).bind(2, redemption.consumerOfferID).bind(3, redemption.referenceID);
        if (earlier.step()) {
            return Result{Outcome::Repeated, earlier.integer(0)};
        }
        Statement used(*this, "SELECT COUNT(*) FROM redemptions WHERE consumer_id = ? AND consumer_offer_id = ?");
        used.bind(1, redemption.consumerID).bind(2, redemption.consumerOfferID).step();
        if (redemption.redeemLimit && used.integer(0) >= *redemption.redeemLimit) {
            return Result{Outcome::LimitReached};
        }
        Statement balance(*this, "SELECT points FROM balances WHERE consumer_id = ?");
        const std::int64_t points = balance.bind(1, redemption.consumerID).step() ? balance.integer(0) : 0;
        if (points < redemption.points) {
            return Result{Outcome::NotEnoughPoints};
        }
        Statement(*this,
                  "INSERT INTO balances VALUES (?1, -?2, NULL) "
                  "ON CONFLICT (consumer_id) DO UPDATE SET points = points - ?2")
            .bind(1, redemption.consumerID)
            .bind(2, redemption.points)
            .step();
        Statement next(*this, "SELECT MAX(COALESCE(MAX(redemption_id) + 1, 0), ?) FROM redemptions");
        next.bind(1, firstRedemptionID).step();
        const std::int64_t id = next.integer(0);
        Statement(*this, "INSERT INTO redemptions VALUES (?, ?, ?, ?, ?, ?, ?)")
            .bind(1, id)
            .bind(2, redemption.consumerID)
            .bind(3, redemption.consumerOfferID)
            .bind(4, redemption.referenceID)
            .bind(5, redemption.amount)
            .bind(6, redemption.transactionDateTime)
            .bind(7, redemption.points)
            .step();
        return Result{Outcome::Done, id};
    });
}

void QVCServiceStore::registerDevice(std::int64_t consumerID, const QVCJSON& token, const std::string& deviceType,
                                     std::int64_t enPush) {
    transaction([&] {
        Statement(*this, "INSERT OR REPLACE INTO device_tokens VALUES (?, ?, ?, ?)")
            .bind(1, consumerID)
            .bind(2, token.dump())
            .bind(3, deviceType)
            .bind(4, enPush)
            .step();
        return true;
    });
}

QVCJSON QVCServiceStore::state() {
    return transaction([&] {
        QVCJSON state;
        Statement consumers(*this, "SELECT document FROM consumers ORDER BY consumer_id");
        state["consumers"] = documents(consumers);
        state["balances"] = QVCJSON::array();
        Statement balances(*this, "SELECT consumer_id, points, status FROM balances ORDER BY consumer_id");
        while (balances.step()) {
            state["balances"].push_back({{"consumerId", balances.integer(0)},
                                         {"points", balances.integer(1)},
                                         {"status", balances.isNull(2) ? QVCJSON() : QVCJSON(balances.text(2))}});
        }
        state["redemptions"] = QVCJSON::array();
        Statement redemptions(
            *this,
            "SELECT redemption_id, consumer_id, consumer_offer_id, reference_id, amount, transaction_date_time, "
            "points FROM redemptions ORDER BY redemption_id");
        while (redemptions.step()) {
            state["redemptions"].push_back({{"redemptionId", redemptions.integer(0)},
                                            {"consumerId", redemptions.integer(1)},
                                            {"consumerOfferId", redemptions.text(2)},
                                            {"referenceId", redemptions.text(3)},
                                            {"amount", redemptions.text(4)},
                                            {"transactionDateTime", redemptions.text(5)},
                                            {"loyaltyPoints", redemptions.integer(6)}});
        }
        state["deviceTokens"] = QVCJSON::array();
        Statement devices(*this,
                          "SELECT consumer_id, token, device_type, en_push FROM device_tokens ORDER BY consumer_id");
        while (devices.step()) {
            state["deviceTokens"].push_back({{"consumerId", devices.integer(0)},
                                             {"deviceToken", devices.json(1)},
                                             {"deviceType", devices.text(2)},
                                             {"en_Push", devices.integer(3)}});
        }
        return state;
    });
}
