// What the broker has not had yet, on disk, so that it outlives the bridge.
#pragma once

#include "bridge/record.h"

#include <chrono>
#include <map>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace zelq::bridge {

/// Bounded: the oldest go first, and are counted. While the disk takes nothing, what comes is kept
/// in memory, bounded as well.
class Store
{
  public:
    /// Throws a std::runtime_error when the file cannot be had, or another bridge has it.
    Store(const std::string& file, std::size_t limitBytes);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    /// 0 to 255, another one at each call, across restarts.
    int NextSession();
    /// What tells this bridge from every other; the same after a restart.
    [[nodiscard]] const std::string& Instance() const { return instance_; }
    /// Above all that are in the store.
    [[nodiscard]] std::int64_t FirstFreeId() const { return firstFree_; }

    /// In one transaction: all or, when the disk refuses, none, which are then kept in memory.
    void Append(const std::vector<Record>& records);
    /// The oldest behind that id.
    std::vector<Record> Read(std::int64_t after, std::size_t count);
    void Remove(const std::vector<std::int64_t>& ids);

    [[nodiscard]] std::int64_t Waiting() const;
    [[nodiscard]] std::int64_t Dropped() const { return dropped_; }

  private:
    class Statement;
    class Transaction;

    void Execute(const char* sql);
    void Open();
    void ReadState();
    bool Write(const std::map<std::int64_t, std::string>& rows);
    std::map<std::int64_t, std::string> ReadRows(std::int64_t after, std::size_t count);
    void MakeRoom();
    void Keep(const std::map<std::int64_t, std::string>& rows);
    void StoreNumber(const char* key, std::int64_t value);
    std::int64_t Number(const char* sql);

    sqlite3* database_ = nullptr;
    std::size_t limit_;
    std::string instance_;
    std::int64_t firstFree_ = 1;
    std::int64_t rows_ = 0;
    std::int64_t bytes_ = 0;
    std::int64_t dropped_ = 0;
    bool unreadable_ = false; // told once
    std::map<std::int64_t, std::string> memory_;
    std::size_t memoryBytes_ = 0;
    std::chrono::steady_clock::time_point nextTry_{}; ///< to write what is in memory
};

} // namespace zelq::bridge
