#include "standins/prefstore/database.h"

#include <sqlite3.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/error_codes.h"
#include "platform/text.h"
#include "standins/prefstore/store_folder.h"

namespace orrery::prefstore {

namespace {

constexpr char fileName[] = "settings.db";
constexpr int busyTimeout = 5000;  // milliseconds
constexpr int closingTimeout = 1000;

// A write brings three pages into the log, so they are small (those of an earlier file stay as they are), and
// the disk is waited for once in a thousand writes. The log comes before the syncing: a file that had none is
// to be on the disk when it has one.
constexpr char mode[] =
    "PRAGMA page_size = 1024;"
    "PRAGMA journal_mode = WAL;"
    "PRAGMA synchronous = NORMAL;"
    "PRAGMA wal_autocheckpoint = 4000";

constexpr char schema[] =
    "BEGIN IMMEDIATE;"
    "CREATE TABLE IF NOT EXISTS settings("
    "  key TEXT NOT NULL PRIMARY KEY COLLATE NOCASE, value, revision INTEGER NOT NULL);"
    "CREATE UNIQUE INDEX IF NOT EXISTS settings_revision ON settings(revision);"
    "PRAGMA user_version = 1;"
    "COMMIT";

// A deletion is forgotten once 10,000 newer writes are on disk: any process that is alive has seen it.
constexpr char forgetSql[] =
    "DELETE FROM settings WHERE value IS NULL AND revision <= (SELECT max(revision) FROM settings) - 10000";

// The first spelling of a key stays for as long as the key is set.
constexpr char putSql[] =
    "INSERT INTO settings(key, value, revision)"
    " VALUES(?1, ?2, (SELECT coalesce(max(revision), 0) + 1 FROM settings))"
    " ON CONFLICT(key) DO UPDATE SET key = iif(value IS NULL, excluded.key, key), value = excluded.value,"
    " revision = excluded.revision";
constexpr char removeSql[] =
    "UPDATE settings SET value = NULL, revision = (SELECT max(revision) + 1 FROM settings)"
    " WHERE key = ?1 AND value IS NOT NULL";
constexpr char fetchSql[] = "SELECT key, value, revision FROM settings WHERE revision > ?1 ORDER BY revision";

bool IsDamage(int result) {
    const int primary = result & 0xFF;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

uint32_t ToErrorCode(int result) {
    switch (result & 0xFF) {
        case SQLITE_OK:
            return Success;
        case SQLITE_FULL:
        case SQLITE_NOMEM:
            return NotEnoughMemory;
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return InvalidData;
        case SQLITE_TOOBIG:
            return InvalidParameter;
        default:
            return AccessDenied;
    }
}

// Makes a prepared statement ready for its next use, whatever became of this one.
class StatementUse {
  public:
    explicit StatementUse(sqlite3_stmt* statement) : statement(statement) {}
    ~StatementUse() {
        sqlite3_reset(statement);
        sqlite3_clear_bindings(statement);
    }
    StatementUse(const StatementUse&) = delete;
    StatementUse& operator=(const StatementUse&) = delete;

  private:
    sqlite3_stmt* statement;
};

std::string PathIn(const std::string& folder) {
    return folder + (folder.ends_with('/') ? "" : "/") + fileName;
}

int StepToEnd(sqlite3_stmt* statement) {
    int result = SQLITE_ROW;
    while (result == SQLITE_ROW) result = sqlite3_step(statement);
    return result == SQLITE_DONE ? SQLITE_OK : result;
}

// False if the text is malformed and would come back as another one.
bool ToExactUtf8(const WideString& text, std::string& utf8) {
    WideString back;
    return WideToUtf8(text, utf8) && Utf8ToWide(utf8, back) && back == text;
}

int BindText(sqlite3_stmt* statement, int index, std::string_view text, sqlite3_destructor_type owner) {
    return sqlite3_bind_text64(statement, index, text.data(), text.size(), owner, SQLITE_UTF8);
}

// Text that people can read in the file wherever UTF-8 can hold it, else the code units as they are.
int BindValue(sqlite3_stmt* statement, int index, const WideString& value) {
    std::string utf8;
    if (ToExactUtf8(value, utf8)) return BindText(statement, index, utf8, SQLITE_TRANSIENT);
    return sqlite3_bind_blob64(statement, index, value.data(), value.size() * sizeof(char16_t),
                               SQLITE_STATIC);
}

std::string_view ColumnBytes(sqlite3_stmt* statement, int column) {
    const void* bytes = sqlite3_column_blob(statement, column);
    return {static_cast<const char*>(bytes), static_cast<size_t>(sqlite3_column_bytes(statement, column))};
}

std::optional<WideString> ColumnValue(sqlite3_stmt* statement, int column) {
    const int type = sqlite3_column_type(statement, column);
    if (type == SQLITE_NULL) return std::nullopt;
    const std::string_view bytes = ColumnBytes(statement, column);
    if (type != SQLITE_BLOB) return ToWide(bytes);
    WideString value(bytes.size() / sizeof(char16_t), u'\0');
    bytes.copy(reinterpret_cast<char*>(value.data()), value.size() * sizeof(char16_t));
    return value;
}

}  // namespace

void Database::Closer::operator()(sqlite3* closing) const {
    sqlite3_close(closing);
}
void Database::Closer::operator()(sqlite3_stmt* closing) const {
    sqlite3_finalize(closing);
}

Database::Database(const std::string& folder) : folder(folder), path(PathIn(folder)) {}

// The last process to close does as much by itself, the others don't. A reader in between is waited for, as
// he would keep what he doesn't see yet out of the file, but not for long: the log has it all.
Database::~Database() {
    if (hasWritten) {
        sqlite3_busy_timeout(connection.get(), closingTimeout);
        sqlite3_wal_checkpoint_v2(connection.get(), nullptr, SQLITE_CHECKPOINT_FULL, nullptr, nullptr);
    }
    Close();
}

uint32_t Database::Open(std::string& problem) {
    Close();
    const StoreFolder held(folder);
    const auto fail = [&](const std::string& why, uint32_t code) {
        problem = "The settings store " + path + " cannot be opened: " + why + ".";
        Close();
        return code;
    };
    if (!held.IsHeld() || !held.MakeFile(fileName)) return fail(std::strerror(errno), AccessDenied);

    int result = held.HasOrphanedLog(fileName) ? SQLITE_CORRUPT : Connect();
    if (IsDamage(result)) {
        // What is damaged stays as it is: closing must not carry the log over into it.
        if (connection) sqlite3_db_config(connection.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        Close();
        std::string newName;
        if (!held.SetAside(fileName, newName) || !held.MakeFile(fileName))
            return fail(std::string("it is damaged and cannot be set aside: ") + std::strerror(errno),
                        AccessDenied);
        problem = "The settings store " + path + " was damaged; it was set aside as " + newName +
                  " and a new one begun.";
        result = Connect();
    }
    return result == SQLITE_OK ? Success : fail(Describe(result), ToErrorCode(result));
}

bool Database::IsAstray() const {
    int moved = 0;
    if (!connection) return true;
    return sqlite3_file_control(connection.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK &&
           moved;
}

uint32_t Database::ReadAfter(int64_t revision, std::vector<SettingRow>& rows) {
    return ToErrorCode(Fetch(revision, rows));
}

uint32_t Database::Write(const WideString& key, const WideString* value, int64_t revision,
                         std::vector<SettingRow>& rows) {
    std::string utf8Key;
    if (!ToExactUtf8(key, utf8Key)) return InvalidParameter;
    if (!connection) return AccessDenied;

    int result = Run(begin);
    if (result == SQLITE_OK) result = value != nullptr ? Put(utf8Key, *value) : Remove(utf8Key);
    std::vector<SettingRow> written;
    if (result == SQLITE_OK) result = Fetch(revision, written);
    if (result == SQLITE_OK) result = Run(commit);
    if (result != SQLITE_OK) {
        if (!sqlite3_get_autocommit(connection.get())) Execute("ROLLBACK");
        return ToErrorCode(result);
    }
    hasWritten = true;
    rows = std::move(written);
    return Success;
}

int Database::Connect() {
    sqlite3* opened = nullptr;
    int result = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    connection.reset(opened);
    if (result != SQLITE_OK) return result;
    sqlite3_extended_result_codes(opened, 1);
    sqlite3_busy_timeout(opened, busyTimeout);
    result = CheckIntegrity();
    if (result == SQLITE_OK) result = Execute(mode);
    if (result == SQLITE_OK) result = MakeSchema();
    if (result == SQLITE_OK) result = PrepareStatements();
    if (result == SQLITE_OK) ForgetOldDeletions();
    return result;
}

int Database::CheckIntegrity() {
    Statement check;
    const int result = Prepare("PRAGMA quick_check(1)", check);
    if (result != SQLITE_OK) return result;
    const int row = sqlite3_step(check.get());
    if (row != SQLITE_ROW) return row == SQLITE_DONE ? SQLITE_CORRUPT : row;
    return ColumnBytes(check.get(), 0) == "ok" ? SQLITE_OK : SQLITE_CORRUPT;
}

int Database::MakeSchema() {
    Statement version;
    const int result = Prepare("PRAGMA user_version", version);
    if (result != SQLITE_OK) return result;
    const int row = sqlite3_step(version.get());
    if (row != SQLITE_ROW) return row;
    // A store that is there opens without a write, so that it does while another process holds the lock.
    const bool isNew = sqlite3_column_int(version.get(), 0) == 0;
    version.reset();
    return isNew ? Execute(schema) : SQLITE_OK;
}

void Database::ForgetOldDeletions() {
    // The next start does it if another process is writing now.
    sqlite3_busy_timeout(connection.get(), 0);
    Execute(forgetSql);
    sqlite3_busy_timeout(connection.get(), busyTimeout);
}

int Database::PrepareStatements() {
    int result = Prepare("BEGIN IMMEDIATE", begin);
    if (result == SQLITE_OK) result = Prepare("COMMIT", commit);
    if (result == SQLITE_OK) result = Prepare(putSql, put);
    if (result == SQLITE_OK) result = Prepare(removeSql, remove);
    return result == SQLITE_OK ? Prepare(fetchSql, fetch) : result;
}

int Database::Execute(const char* sql) {
    return sqlite3_exec(connection.get(), sql, nullptr, nullptr, nullptr);
}

int Database::Prepare(const char* sql, Statement& statement) {
    sqlite3_stmt* prepared = nullptr;
    const int result = sqlite3_prepare_v2(connection.get(), sql, -1, &prepared, nullptr);
    statement.reset(prepared);
    return result;
}

int Database::Run(const Statement& statement) {
    const StatementUse use(statement.get());
    return StepToEnd(statement.get());
}

int Database::Put(std::string_view key, const WideString& value) {
    const StatementUse use(put.get());
    int result = BindText(put.get(), 1, key, SQLITE_STATIC);
    if (result == SQLITE_OK) result = BindValue(put.get(), 2, value);
    return result == SQLITE_OK ? StepToEnd(put.get()) : result;
}

int Database::Remove(std::string_view key) {
    const StatementUse use(remove.get());
    const int result = BindText(remove.get(), 1, key, SQLITE_STATIC);
    return result == SQLITE_OK ? StepToEnd(remove.get()) : result;
}

int Database::Fetch(int64_t revision, std::vector<SettingRow>& rows) {
    if (!fetch) return SQLITE_CANTOPEN;
    const StatementUse use(fetch.get());
    sqlite3_bind_int64(fetch.get(), 1, revision);
    std::vector<SettingRow> found;
    int result = sqlite3_step(fetch.get());
    for (; result == SQLITE_ROW; result = sqlite3_step(fetch.get())) {
        found.push_back({ToWide(ColumnBytes(fetch.get(), 0)), ColumnValue(fetch.get(), 1),
                         sqlite3_column_int64(fetch.get(), 2)});
    }
    if (result != SQLITE_DONE) return result;
    rows = std::move(found);
    return SQLITE_OK;
}

void Database::Close() {
    hasWritten = false;
    fetch.reset();
    remove.reset();
    put.reset();
    commit.reset();
    begin.reset();
    connection.reset();
}

std::string Database::Describe(int result) const {
    return connection ? sqlite3_errmsg(connection.get()) : sqlite3_errstr(result);
}

}  // namespace orrery::prefstore
