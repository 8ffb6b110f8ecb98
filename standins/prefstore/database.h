// The store's file, settings.db: a table of keys, values and revisions. It remembers no values and notifies
// nobody; that is Store's. One thread at a time: Store calls it under its lock.
//
// A write goes to a log beside the file and isn't waited for to reach the disk: it outlives the process at
// once, and the log reaches disk and file when it has grown or with a clean end. A power cut may cost the
// newest writes, never an older one before them, nor the file.
//
// Every write draws the next revision, a deletion leaves a row without a value, so that a reader that knows
// the revision it has seen learns all that came after it.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "contracts/wide_string.h"

struct sqlite3;
struct sqlite3_stmt;

namespace orrery::prefstore {

struct SettingRow {
    WideString key;
    std::optional<WideString> value;  // nothing: deleted
    int64_t revision = 0;
};

class Database {
  public:
    explicit Database(const std::string& folder);
    // Brings what it has written to the disk.
    ~Database();

    const std::string& Folder() const { return folder; }
    const std::string& Path() const { return path; }

    // Opens the file anew, creating it if there is none and setting it aside if it is damaged. `problem` says
    // what is wrong, in one sentence; it may also be set on success.
    uint32_t Open(std::string& problem);
    // The file that is open is not the one at Path() any more.
    bool IsAstray() const;

    // The rows after `revision`, oldest first. On failure `rows` is untouched.
    uint32_t ReadAfter(int64_t revision, std::vector<SettingRow>& rows);
    // Writes `value`, or deletes the key if it is null, and returns the rows after `revision`, this one and
    // those of other processes. On failure nothing has changed. A deletion of a key that isn't set succeeds
    // and adds no row.
    uint32_t Write(const WideString& key, const WideString* value, int64_t revision,
                   std::vector<SettingRow>& rows);

  private:
    struct Closer {
        void operator()(sqlite3* connection) const;
        void operator()(sqlite3_stmt* statement) const;
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Closer>;

    // These return SQLite's result codes.
    int Connect();
    int CheckIntegrity();
    int MakeSchema();
    int PrepareStatements();
    int Execute(const char* sql);
    int Prepare(const char* sql, Statement& statement);
    int Run(const Statement& statement);
    int Put(std::string_view key, const WideString& value);
    int Remove(std::string_view key);
    int Fetch(int64_t revision, std::vector<SettingRow>& rows);

    void ForgetOldDeletions();
    void Close();
    std::string Describe(int result) const;

    const std::string folder;
    const std::string path;
    bool hasWritten = false;  // through this connection
    std::unique_ptr<sqlite3, Closer> connection;
    Statement begin;
    Statement commit;
    Statement put;
    Statement remove;
    Statement fetch;
};

}  // namespace orrery::prefstore
