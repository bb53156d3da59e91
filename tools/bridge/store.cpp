#include "bridge/store.h"

#include "bridge/log.h"
#include "bridge/wire.h"

#include <algorithm>
#include <random>
#include <sqlite3.h>
#include <stdexcept>
#include <utility>

namespace zelq::bridge {

namespace {

/// What a row takes beside its bytes.
constexpr std::int64_t kRowBytes = 24;
/// While the disk takes nothing.
constexpr std::size_t kMemoryBytes = 16'000'000;
constexpr int kSessions = 256;
/// A full disk does not become empty sooner by being tried at each change.
constexpr std::chrono::seconds kTryAgainAfter{1};

constexpr const char* kSchema = R"(
PRAGMA locking_mode = EXCLUSIVE;
PRAGMA journal_mode = WAL;
PRAGMA synchronous = NORMAL;
CREATE TABLE IF NOT EXISTS changes (id INTEGER PRIMARY KEY, body BLOB NOT NULL);
CREATE TABLE IF NOT EXISTS state (key TEXT PRIMARY KEY, value) WITHOUT ROWID;
)";

std::string RandomName()
{
    std::random_device random;
    constexpr const char* kDigits = "0123456789abcdef";
    std::string name;
    for (int i = 0; i < 12; ++i) {
        name += kDigits[random() % 16];
    }
    return name;
}

} // namespace

/// A statement that is given back at the end, with what went wrong as an exception.
class Store::Statement
{
  public:
    Statement(sqlite3* database, const char* sql) : database_(database)
    {
        if (sqlite3_prepare_v2(database, sql, -1, &statement_, nullptr) != SQLITE_OK) Fail();
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& Bind(int place, std::int64_t value)
    {
        if (sqlite3_bind_int64(statement_, place, value) != SQLITE_OK) Fail();
        return *this;
    }
    /// The bytes have to outlive the step.
    Statement& Bind(int place, const std::string& bytes, bool asText = false)
    {
        const auto size = static_cast<int>(bytes.size());
        const int result = asText
                               ? sqlite3_bind_text(statement_, place, bytes.data(), size, nullptr)
                               : sqlite3_bind_blob(statement_, place, bytes.data(), size, nullptr);
        if (result != SQLITE_OK) Fail();
        return *this;
    }
    /// Whether there is a row.
    bool Step()
    {
        const int result = sqlite3_step(statement_);
        if (result != SQLITE_ROW && result != SQLITE_DONE) Fail();
        return result == SQLITE_ROW;
    }
    void Again() { sqlite3_reset(statement_); }
    [[nodiscard]] std::int64_t Number(int column) const
    {
        return sqlite3_column_int64(statement_, column);
    }
    [[nodiscard]] std::string Bytes(int column) const
    {
        const auto* data = static_cast<const char*>(sqlite3_column_blob(statement_, column));
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
        return data == nullptr ? std::string() : std::string(data, size);
    }

  private:
    [[noreturn]] void Fail() const { throw std::runtime_error(sqlite3_errmsg(database_)); }

    sqlite3* database_;
    sqlite3_stmt* statement_ = nullptr;
};

class Store::Transaction
{
  public:
    explicit Transaction(Store& store) : store_(store) { store_.Execute("BEGIN"); }
    ~Transaction()
    {
        // SQLite has rolled back already what a full disk broke off.
        if (!done_ && sqlite3_get_autocommit(store_.database_) == 0) {
            sqlite3_exec(store_.database_, "ROLLBACK", nullptr, nullptr, nullptr);
        }
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void Commit()
    {
        store_.Execute("COMMIT");
        done_ = true;
    }

  private:
    Store& store_;
    bool done_ = false;
};

Store::Store(const std::string& file, std::size_t limitBytes) : limit_(limitBytes)
{
    const int opened = sqlite3_open(file.c_str(), &database_);
    try {
        if (opened != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(database_));
        Open();
        ReadState();
    } catch (const std::exception& error) {
        const bool isBusy = sqlite3_errcode(database_) == SQLITE_BUSY;
        const std::string reason = isBusy ? "another bridge has it" : error.what();
        sqlite3_close(database_);
        throw std::runtime_error("the store " + file + " cannot be used: " + reason);
    }
}

Store::~Store()
{
    if (!memory_.empty() && !Write(memory_)) {
        Log(std::to_string(memory_.size()) + " changes are lost, the disk does not take them");
    }
    sqlite3_close(database_);
}

void Store::Execute(const char* sql)
{
    if (sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(database_));
    }
}

void Store::Open()
{
    Execute(kSchema);
    // The first write takes the lock, for as long as the bridge runs.
    Statement insert(database_, "INSERT OR IGNORE INTO state VALUES ('instance', ?)");
    const std::string name = RandomName();
    insert.Bind(1, name, true).Step();
}

std::int64_t Store::Number(const char* sql)
{
    Statement query(database_, sql);
    return query.Step() ? query.Number(0) : 0;
}

void Store::ReadState()
{
    Statement query(database_, "SELECT value FROM state WHERE key = 'instance'");
    if (query.Step()) instance_ = query.Bytes(0);
    rows_ = Number("SELECT COUNT(*) FROM changes");
    bytes_ = Number("SELECT TOTAL(LENGTH(body)) FROM changes") + rows_ * kRowBytes;
    firstFree_ = Number("SELECT MAX(id) FROM changes") + 1;
    dropped_ = Number("SELECT value FROM state WHERE key = 'dropped'");
    if (rows_ > 0) Log(std::to_string(rows_) + " changes wait in the store");
}

void Store::StoreNumber(const char* key, std::int64_t value)
{
    const std::string name = key;
    Statement(database_, "INSERT OR REPLACE INTO state VALUES (?, ?)")
        .Bind(1, name, true)
        .Bind(2, value)
        .Step();
}

int Store::NextSession()
{
    const auto session = Number("SELECT value FROM state WHERE key = 'session'");
    try {
        StoreNumber("session", (session + 1) % kSessions);
    } catch (const std::exception& error) {
        Log(std::string("the number of the session is not kept: ") + error.what());
    }
    return static_cast<int>(session);
}

void Store::Append(const std::vector<Record>& records)
{
    // What waits in memory goes first; both in one transaction.
    std::map<std::int64_t, std::string> rows;
    for (const Record& record : records) {
        rows[record.id] = Pack(record);
    }
    const bool hadTrouble = !memory_.empty();
    if (hadTrouble) {
        Keep(rows);
        const auto now = std::chrono::steady_clock::now();
        if (now < nextTry_) return;
        nextTry_ = now + kTryAgainAfter;
        if (!Write(memory_)) return;
        memory_.clear();
        memoryBytes_ = 0;
        Log("the store can be written again");
    } else if (!Write(rows)) {
        Keep(rows);
    }
}

bool Store::Write(const std::map<std::int64_t, std::string>& rows)
{
    const auto rowsBefore = rows_;
    const auto bytesBefore = bytes_;
    const auto droppedBefore = dropped_;
    try {
        Transaction transaction(*this);
        Statement insert(database_, "INSERT OR IGNORE INTO changes VALUES (?, ?)");
        for (const auto& [id, body] : rows) {
            insert.Bind(1, id).Bind(2, body).Step();
            rows_ += sqlite3_changes(database_);
            bytes_ += static_cast<std::int64_t>(body.size()) + kRowBytes;
            insert.Again();
        }
        if (bytes_ > static_cast<std::int64_t>(limit_)) MakeRoom();
        transaction.Commit();
        return true;
    } catch (const std::exception& error) {
        rows_ = rowsBefore;
        bytes_ = bytesBefore;
        dropped_ = droppedBefore;
        if (memory_.empty()) {
            Log(std::string("the store cannot be written (") + error.what() +
                "): changes are kept in memory");
        }
        return false;
    }
}

/// A twentieth at a time, for looking for the oldest costs the same for one as for many.
void Store::MakeRoom()
{
    while (bytes_ > static_cast<std::int64_t>(limit_) && rows_ > 0) {
        const std::int64_t count = std::max<std::int64_t>(1, rows_ / 20);
        Statement find(database_, "SELECT MAX(id), TOTAL(LENGTH(body)) FROM (SELECT id, body FROM "
                                  "changes ORDER BY id LIMIT ?)");
        find.Bind(1, count).Step();
        Statement(database_, "DELETE FROM changes WHERE id <= ?").Bind(1, find.Number(0)).Step();
        rows_ -= count;
        bytes_ -= find.Number(1) + count * kRowBytes;
        dropped_ += count;
    }
    StoreNumber("dropped", dropped_);
}

void Store::Keep(const std::map<std::int64_t, std::string>& rows)
{
    for (const auto& [id, body] : rows) {
        memory_[id] = body;
        memoryBytes_ += body.size();
    }
    while (memoryBytes_ > std::min(kMemoryBytes, limit_) && !memory_.empty()) {
        memoryBytes_ -= memory_.begin()->second.size();
        memory_.erase(memory_.begin());
        ++dropped_;
    }
}

/// A file that cannot be read, as on a disk that fails, keeps nothing from what is live.
std::map<std::int64_t, std::string> Store::ReadRows(std::int64_t after, std::size_t count)
{
    std::map<std::int64_t, std::string> rows;
    try {
        Statement query(database_, "SELECT id, body FROM changes WHERE id > ? ORDER BY id LIMIT ?");
        query.Bind(1, after).Bind(2, static_cast<std::int64_t>(count));
        while (query.Step()) {
            rows[query.Number(0)] = query.Bytes(1);
        }
        unreadable_ = false;
    } catch (const std::exception& error) {
        if (!std::exchange(unreadable_, true)) {
            Log(std::string("the store cannot be read: ") + error.what());
        }
    }
    return rows;
}

std::vector<Record> Store::Read(std::int64_t after, std::size_t count)
{
    std::map<std::int64_t, std::string> rows = ReadRows(after, count);
    auto kept = memory_.upper_bound(after);
    for (std::size_t i = 0; i < count && kept != memory_.end(); ++i, ++kept) {
        rows[kept->first] = kept->second;
    }
    std::vector<Record> records;
    for (const auto& [id, body] : rows) {
        if (records.size() == count) break;
        // What cannot be read says at least that there was something: it is removed as sent.
        Record record = Unpack(body).value_or(Record{});
        record.id = id;
        records.push_back(std::move(record));
    }
    return records;
}

void Store::Remove(const std::vector<std::int64_t>& ids)
{
    try {
        Transaction transaction(*this);
        Statement remove(database_, "DELETE FROM changes WHERE id = ? RETURNING LENGTH(body)");
        for (const std::int64_t id : ids) {
            const auto kept = memory_.find(id);
            if (kept != memory_.end()) {
                memoryBytes_ -= kept->second.size();
                memory_.erase(kept);
            }
            remove.Bind(1, id);
            while (remove.Step()) {
                --rows_;
                bytes_ -= remove.Number(0) + kRowBytes;
            }
            remove.Again();
        }
        transaction.Commit();
    } catch (const std::exception& error) {
        // They are sent once more by the next bridge that has this file.
        Log(std::string("the store cannot be written: ") + error.what());
    }
}

std::int64_t Store::Waiting() const
{
    return rows_ + static_cast<std::int64_t>(memory_.size());
}

} // namespace zelq::bridge
