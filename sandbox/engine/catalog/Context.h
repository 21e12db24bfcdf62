// What the parts of one session share: its SQLite connection, the databases that it has attached,
// its variables and options.
#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "sandbox/engine/catalog/Catalog.h"
#include "sandbox/engine/storage/Host.h"
#include "sandbox/engine/storage/Storage.h"
#include "sandbox/engine/values/Types.h"
#include "sandbox/text/Collations.h"

namespace sandbox::engine {

struct Variable {
    std::u16string name;  // folded, with "@"
    SqlType type;
    Value value;
};

// The variables of a batch or of one call of a procedure.
struct Frame {
    std::vector<Variable> variables;
    int procedureId = 0;
    std::u16string procedure;
    std::optional<std::int64_t> scopeIdentity;
    bool inProcedure = false;
    std::vector<int> temporaryTables;  // made here; they go when the procedure or the text ends
    // DECLARE @t TABLE: the folded name, and that of the temporary table behind it.
    std::vector<std::pair<std::u16string, std::u16string>> tableVariables;

    Variable* Find(std::u16string_view folded) {
        for (Variable& v : variables) {
            if (v.name == folded) return &v;
        }
        return nullptr;
    }
};

// A key that a foreign key has to be checked for when the statement ends.
struct PendingKey {
    int constraint = 0;
    DatabasePtr database;
    bool parentGone = false;  // the referenced row was deleted or its key changed
    bool updated = false;     // ... by an update: newKey is what it became
    std::vector<Value> key, newKey;
};

// What SET switches. A procedure and a dynamic text begin with their caller's; what they switch
// ends with them.
struct SetOptions {
    int lockTimeout = -1;  // ms; -1: as long as the server waits
    bool formatOnly = false;
    bool noCount = false, xactAbort = false, quotedIdentifier = true, dmy = false;
    bool snapshot = false;      // SET TRANSACTION ISOLATION LEVEL SNAPSHOT
    std::int64_t rowLimit = 0;  // SET ROWCOUNT
    // The one table whose identity may be written.
    DatabasePtr identityInsertDatabase;
    int identityInsertTable = 0;
    std::u16string identityInsertName;

    bool SameIdentityInsert(const SetOptions& other) const {
        return identityInsertTable == other.identityInsertTable &&
               identityInsertDatabase == other.identityInsertDatabase;
    }
};

// Resolves to a table, a view or a system view.
struct Resolved {
    Catalog* catalog = nullptr;
    std::optional<ObjectMeta> object;
};

class Context {
  public:
    // The collations and functions that its SQL calls are registered by its owner
    // (RegisterFunctions), before any database is opened.
    Context(ServerState& server, DatabasePtr database);
    ~Context();
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    Store store;
    ServerState& server;
    std::u16string user, hostName, application;
    bool administrator = true;  // a member of sysadmin
    int spid = 51;

    // Databases
    DatabasePtr current;
    void Use(DatabasePtr database);
    Catalog& Open(const DatabasePtr& database);
    Catalog& Current() { return Open(current); }
    // The database that a name means: through a linked server, by its name, or the current one.
    // Throws 7202, 7399, 911 ...
    Catalog& OpenNamed(std::u16string_view serverName, std::u16string_view databaseName);
    Resolved Resolve(const ObjectName& name);
    // The session's own tables, whose names begin with "#"; they go with it.
    Catalog& Temporary();
    // The table variable of the running batch or procedure. Throws 1087.
    Resolved ResolveVariable(const ObjectName& name);
    bool IsTemporary(const Catalog& catalog) const { return catalog.File() == temporary_; }
    // Moves when any catalog that the session looks at has changed.
    std::uint64_t Generation() const { return generation_; }
    // Looks whether another session has changed a catalog.
    void RefreshCatalogs();
    void ForgetCatalogs();
    void BumpGeneration() { ++generation_; }
    Catalog* Attached(int number);

    // Execution state
    Frame* frame = nullptr;
    std::int64_t rowCount = 0;
    int lastError = 0;
    std::optional<std::int64_t> lastIdentity;
    int transactionDepth = 0;
    bool inStoreTransaction = false;   // SQLite has a transaction open
    bool snapshotTransaction = false;  // the open transaction began in snapshot isolation
    std::vector<PendingKey> pendingKeys;
    std::u16string verb;            // INSERT, UPDATE, DELETE: what a conflict message names
    bool reshufflingKeys = false;   // deletes stand for an update of keys
    std::int64_t statementNow = 0;  // datetime of the running statement, 0: not asked yet
    std::int64_t statementUtcNow = 0;
    std::optional<std::string> contextInfo;  // SET CONTEXT_INFO: 128 bytes
    const Message* caught = nullptr;         // ERROR_MESSAGE() and the like

    // Waiting and long statements look at this while a batch runs.
    const std::atomic<bool>* cancelled = nullptr;
    bool IsCancelled() const { return cancelled != nullptr && *cancelled; }

    SetOptions options;

  private:
    struct Attachment {
        DatabasePtr file;
        std::unique_ptr<Catalog> catalog;
        std::uint64_t used = 0;
    };
    void DetachOldest();

    DatabasePtr temporary_;
    std::unordered_map<int, Attachment> attached_;
    std::uint64_t clock_ = 0;
    std::uint64_t generation_ = 1;
};

// "#name". Tables that all sessions see, "##name", are not known.
bool IsTemporaryName(std::u16string_view name);

// The collation of that name (DATABASE_DEFAULT among them). Throws 448.
CollationId NamedCollation(const Context& context, std::u16string_view name);

}  // namespace sandbox::engine
