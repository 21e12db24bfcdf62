// What the sessions of a process share: servers, their databases, their linked servers.
#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "sandbox/Engine.h"
#include "sandbox/text/Collations.h"

namespace sandbox::engine {

struct ServerState;

// One database: a SQLite file and the counters that no rollback takes back.
struct DatabaseFile {
    int number = 0;  // unique in the process; names the attachment
    int id = 0;      // dbid on its server
    std::u16string name;
    std::filesystem::path path;
    ServerState* server = nullptr;
    std::atomic<int> compatibility{100};
    std::int64_t created = 0;                  // datetime
    CollationId collation = kServerCollation;  // of what is given none
    std::atomic<bool> allowsSnapshot{false};   // ALLOW_SNAPSHOT_ISOLATION
    std::atomic<bool> dropped{false};
    std::atomic<int> sessions{0};  // sessions whose current database this is

    std::string Alias() const { return "d" + std::to_string(number); }

    // Identity counters by table id.
    std::int64_t NextIdentity(int table, std::int64_t seed, std::int64_t increment);
    void SeeIdentity(int table, std::int64_t value, std::int64_t increment);
    std::optional<std::int64_t> LastIdentity(int table);
    void ReseedIdentity(int table, std::optional<std::int64_t> last);
    std::int64_t NextRowVersion() { return ++rowVersion_; }
    std::int64_t LastRowVersion() const { return rowVersion_; }
    int NextObjectId();

  private:
    std::mutex mutex_;
    std::unordered_map<int, std::optional<std::int64_t>> identities_;
    std::atomic<std::int64_t> rowVersion_{2000};
    int objects_ = 0;
};
using DatabasePtr = std::shared_ptr<DatabaseFile>;

struct LinkedServer {
    int id = 1;
    std::u16string name, product, provider, dataSource, catalog;
    bool dataAccess = true;
    bool selfMapping = true;
    std::u16string remoteUser, remotePassword;
    bool remoteLogin = false;  // an explicit login was given
};

class HostState;

struct ServerState {
    HostState* host = nullptr;
    EngineSettings settings;
    int major = 10;

    DatabasePtr Find(std::u16string_view name);
    DatabasePtr FindById(int id);
    std::vector<DatabasePtr> Databases();
    // Throws SqlError 1801.
    DatabasePtr Create(const std::u16string& name, CollationId collation = kServerCollation);
    // Throws SqlError 3701, 3702, 3708.
    void Drop(std::u16string_view name);

    std::vector<LinkedServer> Links();
    std::optional<LinkedServer> FindLink(std::u16string_view name);
    void AddLink(LinkedServer link);
    bool ChangeLink(std::u16string_view name, const std::function<void(LinkedServer&)>& change);
    bool DropLink(std::u16string_view name);

    bool AcceptsLogin(std::u16string_view user, std::u16string_view password);
    // The one of the settings, and everybody who comes with integrated security.
    bool IsAdministrator(std::u16string_view user) const;
    bool HasLogin(std::u16string_view user);
    // Throws SqlError 15025.
    void AddLogin(const std::u16string& user, const std::u16string& password);

  private:
    struct Login {
        std::u16string user, password;
    };

    std::mutex mutex_;
    std::vector<Login> logins_;
    std::vector<DatabasePtr> databases_;
    std::vector<LinkedServer> links_;
    int nextDatabase_ = 1;
    int nextLink_ = 1;
};

class HostState {
  public:
    HostState();
    ~HostState();

    ServerState& AddServer(const EngineSettings& settings);
    // By address ("127.0.0.1,port") or by name; nullptr when there is none.
    ServerState* FindServer(std::u16string_view dataSource);
    std::filesystem::path NewFile();
    int NextNumber() { return ++numbers_; }

    std::atomic<int> spids{50};

  private:
    std::mutex mutex_;
    std::vector<std::unique_ptr<ServerState>> servers_;
    std::filesystem::path folder_;
    std::atomic<int> files_{0};
    std::atomic<int> numbers_{0};
};

// The moment now as a datetime, local time.
std::int64_t NowAsDateTime(bool utc);

}  // namespace sandbox::engine
