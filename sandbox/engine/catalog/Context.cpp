#include "sandbox/engine/catalog/Context.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>

#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/DateTime.h"

namespace sandbox::engine {

namespace {

constexpr std::size_t kMostAttached = 9;
constexpr int kLongestWait = 30'000;  // ms

// Called while another session holds the lock; 0 gives up.
int WaitForLock(void* pointer, int attempt) {
    constexpr int kPause = 2;
    const auto& context = *static_cast<Context*>(pointer);
    const int most = context.options.lockTimeout < 0 ? kLongestWait : context.options.lockTimeout;
    if (context.IsCancelled() || attempt * kPause >= most) return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(kPause));
    return 1;
}

int StopWhenCancelled(void* pointer) {
    return static_cast<Context*>(pointer)->IsCancelled() ? 1 : 0;
}

}  // namespace

Context::Context(ServerState& s, DatabasePtr database) : server(s) {
    sqlite3_busy_handler(store.Raw(), WaitForLock, this);
    sqlite3_progress_handler(store.Raw(), 20'000, StopWhenCancelled, this);
    Use(std::move(database));
}

Context::~Context() {
    if (current) --current->sessions;
    attached_.clear();
}

void Context::Use(DatabasePtr database) {
    ++database->sessions;
    if (database->dropped) {
        --database->sessions;
        throw SqlError(
            911, Format(u"Could not locate entry in sysdatabases for database '%1'. No entry "
                        u"found with that name. Make sure that the name is entered correctly.",
                        {database->name}));
    }
    if (current) --current->sessions;
    current = std::move(database);
    ++generation_;
}

Catalog& Context::Open(const DatabasePtr& database) {
    const auto found = attached_.find(database->number);
    if (found != attached_.end()) {
        found->second.used = ++clock_;
        return *found->second.catalog;
    }
    while (attached_.size() >= kMostAttached)
        DetachOldest();
    const std::string alias = database->Alias();
    Statement attach = store.Prepare("ATTACH ? AS " + alias);
    attach.Bind(1, Value::Text(Widen(database->path.string())));
    attach.Run();
    Attachment a;
    a.file = database;
    a.catalog = std::make_unique<Catalog>(store, database);
    a.used = ++clock_;
    if (database == temporary_) {
        a.catalog->Create(inStoreTransaction);
    } else {
        // Two sessions may open a fresh database at the same time.
        static std::mutex creation;
        const std::lock_guard lock(creation);
        if (!a.catalog->IsThere()) {
            store.Execute("PRAGMA " + alias + ".journal_mode=WAL");
            store.Execute("PRAGMA " + alias + ".synchronous=OFF");
            a.catalog->Create();
        } else {
            store.Execute("PRAGMA " + alias + ".synchronous=OFF");
        }
        store.Execute("PRAGMA " + alias + ".cache_size=-65536");
        store.Execute("PRAGMA " + alias + ".secure_delete=OFF");
    }
    ++generation_;
    Catalog& catalog = *a.catalog;
    attached_.emplace(database->number, std::move(a));
    catalog.Refresh();
    return catalog;
}

// Gives up the attachment that was used least recently; one with a transaction stays.
void Context::DetachOldest() {
    store.ForgetCached();
    std::vector<std::pair<std::uint64_t, int>> order;
    for (const auto& [number, a] : attached_) {
        if (a.file != current && a.file != temporary_) order.emplace_back(a.used, number);
    }
    std::sort(order.begin(), order.end());
    for (const auto& [used, number] : order) {
        const std::string alias = attached_[number].file->Alias();
        const bool busy = sqlite3_txn_state(store.Raw(), alias.c_str()) != SQLITE_TXN_NONE;
        if (busy) continue;
        store.Execute("DETACH " + alias);
        attached_.erase(number);
        ++generation_;
        return;
    }
    throw SqlError(701, u"There is insufficient system memory to run this query.", 17);
}

Catalog* Context::Attached(int number) {
    const auto found = attached_.find(number);
    return found == attached_.end() ? nullptr : found->second.catalog.get();
}

void Context::RefreshCatalogs() {
    store.TrimCached();
    for (auto it = attached_.begin(); it != attached_.end();) {
        if (it->second.file->dropped && !inStoreTransaction) {
            store.ForgetCached();
            store.Execute("DETACH " + it->second.file->Alias());
            it = attached_.erase(it);
            ++generation_;
            continue;
        }
        if (it->second.catalog->Refresh()) ++generation_;
        ++it;
    }
}

void Context::ForgetCatalogs() {
    for (auto& [number, a] : attached_) {
        if (a.file == temporary_ && !a.catalog->IsThere()) a.catalog->Create(inStoreTransaction);
        a.catalog->Forget();
        a.catalog->Refresh();
    }
    ++generation_;
}

Catalog& Context::OpenNamed(std::u16string_view serverName, std::u16string_view databaseName) {
    ServerState* target = &server;
    if (!serverName.empty() && !SameName(serverName, server.settings.name)) {
        const auto link = server.FindLink(serverName);
        if (!link) {
            throw SqlError(7202,
                           Format(u"Could not find server '%1' in sysservers. Execute "
                                  u"sp_addlinkedserver to add the server to sysservers.",
                                  {serverName}),
                           11, 2);
        }
        if (!link->dataAccess) {
            throw SqlError(7411,
                           Format(u"Server '%1' is not configured for DATA ACCESS.", {link->name}));
        }
        if (!administrator) {
            throw SqlError(7416,
                           u"Access to the remote server is denied because no login-mapping "
                           u"exists.");
        }
        target = server.host->FindServer(link->dataSource.empty() ? link->name : link->dataSource);
        if (target == nullptr) {
            throw SqlError(
                7399, Format(u"The OLE DB provider \"%1\" for linked server \"%2\" reported an "
                             u"error. The server was not found or is not accessible.",
                             {link->provider, link->name}));
        }
        if (link->remoteLogin && !target->AcceptsLogin(link->remoteUser, link->remotePassword)) {
            throw SqlError(18456, Format(u"Login failed for user '%1'.", {link->remoteUser}), 14);
        }
        if (databaseName.empty()) databaseName = link->catalog.empty() ? u"master" : link->catalog;
    }
    if (databaseName.empty()) return Current();
    const DatabasePtr database = target->Find(databaseName);
    if (!database) {
        if (target != &server) {
            throw SqlError(
                7314, Format(u"The OLE DB provider for linked server \"%1\" does not contain the "
                             u"database \"%2\".",
                             {serverName, databaseName}));
        }
        return Current();  // the caller sees that the name differs
    }
    Catalog& catalog = Open(database);
    RequireAccess(*this, catalog);
    return catalog;
}

Catalog& Context::Temporary() {
    if (!temporary_) {
        auto file = std::make_shared<DatabaseFile>();  // without a path: SQLite's own, and private
        file->number = server.host->NextNumber();
        file->id = 2;
        file->name = u"tempdb";
        file->server = &server;
        file->compatibility = current->compatibility.load();
        file->created = NowAsDateTime(false);
        file->allowsSnapshot = true;
        temporary_ = std::move(file);
    }
    return Open(temporary_);
}

bool IsTemporaryName(std::u16string_view name) {
    return name.starts_with(u"#") && !name.starts_with(u"##");
}

Resolved Context::ResolveVariable(const ObjectName& name) {
    const std::u16string folded = FoldName(name.name);
    if (frame != nullptr) {
        for (const auto& [variable, table] : frame->tableVariables) {
            if (variable != folded) continue;
            Catalog& catalog = Temporary();
            // a rollback has taken it here, which a server's would leave alone
            if (auto object = catalog.Find({}, table)) return {&catalog, std::move(object)};
        }
    }
    throw SqlError(1087, Format(u"Must declare the table variable \"%1\".", {name.name}), 15);
}

Resolved Context::Resolve(const ObjectName& name) {
    if (name.variable) return ResolveVariable(name);
    if (temporary_ && name.server.empty() && IsTemporaryName(name.name)) {
        Catalog& catalog = Temporary();
        return {&catalog, catalog.Find({}, name.name)};
    }
    Catalog& catalog = OpenNamed(name.server, name.database);
    if (!name.database.empty() && !SameName(catalog.File()->name, name.database)) {
        ThrowInvalidObject(name.Text());
    }
    return {&catalog, catalog.Find(name.schema, name.name)};
}

CollationId NamedCollation(const Context& context, std::u16string_view name) {
    CollationId id = context.current->collation;
    const bool known =
        SameName(name, u"DATABASE_DEFAULT") || FindCollation(name, context.server.major, id);
    if (!known) throw SqlError(448, Format(u"Invalid collation '%1'.", {name}));
    return id;
}

}  // namespace sandbox::engine
