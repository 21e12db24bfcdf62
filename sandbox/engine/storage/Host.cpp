#include "sandbox/engine/storage/Host.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <random>
#include <stdexcept>

#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/DateTime.h"
#include "sandbox/engine/values/SqlError.h"

namespace sandbox::engine {
namespace {

constexpr const char* kFolderName = "quillon-sandbox-";

// A process that was killed leaves its databases behind, in memory even: the next one takes them
// away.
void RemoveStaleFolders(const std::filesystem::path& base) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(base, error)) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with(kFolderName)) continue;
        const int pid =
            LeadingNumber(std::string_view(name).substr(std::string_view(kFolderName).size()));
        const bool gone = pid > 0 && ::kill(pid, 0) != 0 && errno == ESRCH;
        if (gone) std::filesystem::remove_all(entry.path(), error);
    }
}

std::filesystem::path MakeFolder() {
    std::error_code error;
    std::random_device random;
    for (const std::filesystem::path& base :
         {std::filesystem::path("/dev/shm"), std::filesystem::temp_directory_path()}) {
        if (!std::filesystem::is_directory(base, error)) continue;
        RemoveStaleFolders(base);
        for (int attempt = 0; attempt < 16; ++attempt) {
            auto folder = base / (kFolderName + std::to_string(::getpid()) + "-" +
                                  std::to_string(random() % 1'000'000'000));
            if (!std::filesystem::create_directory(folder, error)) continue;
            std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
            return folder;
        }
    }
    throw std::runtime_error("no folder for the databases of the sandbox");
}

void RemoveFile(const std::filesystem::path& path) {
    std::error_code ignored;
    for (const char* suffix : {"", "-wal", "-shm"}) {
        std::filesystem::remove(path.string() + suffix, ignored);
    }
}

}  // namespace

std::int64_t NowAsDateTime(bool utc) {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto micros =
        std::chrono::duration_cast<std::chrono::microseconds>(now.time_since_epoch()).count() %
        1'000'000;
    std::tm parts{};
    if (utc) {
        ::gmtime_r(&seconds, &parts);
    } else {
        ::localtime_r(&seconds, &parts);
    }
    Moment m;
    m.days = DaysFromDate({parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday});
    m.ticks = (parts.tm_hour * 3600LL + parts.tm_min * 60LL + std::min(parts.tm_sec, 59)) *
                  kTicksPerSecond +
              micros * 10;
    return FromMoment(m, SqlType{TypeId::DateTime, 0, 0, 0}).value_or(0);
}

std::int64_t DatabaseFile::NextIdentity(int table, std::int64_t seed, std::int64_t increment) {
    const std::lock_guard lock(mutex_);
    auto& last = identities_[table];
    last = last ? *last + increment : seed;
    return *last;
}

void DatabaseFile::SeeIdentity(int table, std::int64_t value, std::int64_t increment) {
    const std::lock_guard lock(mutex_);
    auto& last = identities_[table];
    if (!last || (increment >= 0 ? value > *last : value < *last)) last = value;
}

std::optional<std::int64_t> DatabaseFile::LastIdentity(int table) {
    const std::lock_guard lock(mutex_);
    const auto found = identities_.find(table);
    return found == identities_.end() ? std::nullopt : found->second;
}

void DatabaseFile::ReseedIdentity(int table, std::optional<std::int64_t> last) {
    const std::lock_guard lock(mutex_);
    identities_[table] = last;
}

int DatabaseFile::NextObjectId() {
    const std::lock_guard lock(mutex_);
    ++objects_;
    // Far apart and far above the system objects, as on the server; and other ones in each
    // database, so that constraints which nobody named have other names there.
    const std::int64_t place = objects_ + std::int64_t{number} * 1'009;
    return static_cast<int>(100'000'000 + place * 16'000'057 % 2'000'000'011);
}

DatabasePtr ServerState::Find(std::u16string_view name) {
    const std::lock_guard lock(mutex_);
    for (const DatabasePtr& d : databases_) {
        if (SameName(d->name, name)) return d;
    }
    return nullptr;
}

DatabasePtr ServerState::FindById(int id) {
    const std::lock_guard lock(mutex_);
    for (const DatabasePtr& d : databases_) {
        if (d->id == id) return d;
    }
    return nullptr;
}

std::vector<DatabasePtr> ServerState::Databases() {
    const std::lock_guard lock(mutex_);
    return databases_;
}

DatabasePtr ServerState::Create(const std::u16string& name, CollationId collation) {
    const std::lock_guard lock(mutex_);
    for (const DatabasePtr& d : databases_) {
        if (SameName(d->name, name)) {
            throw SqlError(1801,
                           Format(major >= 9 ? u"Database '%1' already exists. Choose a different "
                                               u"database name."
                                             : u"Database '%1' already exists.",
                                  {name}),
                           16, 3);
        }
    }
    auto d = std::make_shared<DatabaseFile>();
    d->number = host->NextNumber();
    d->id = nextDatabase_++;
    d->name = name;
    d->collation = collation;
    d->path = host->NewFile();
    d->server = this;
    d->compatibility = std::min(major, 16) * 10;
    d->created = NowAsDateTime(false);
    databases_.push_back(d);
    return d;
}

void ServerState::Drop(std::u16string_view name) {
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(databases_.begin(), databases_.end(),
                                    [&](const DatabasePtr& d) { return SameName(d->name, name); });
    if (found == databases_.end()) {
        throw SqlError(3701,
                       Format(u"Cannot drop the database '%1', because it does not exist or you "
                              u"do not have permission.",
                              {name}),
                       11);
    }
    if ((*found)->id <= 4) {
        throw SqlError(
            3708,
            Format(u"Cannot drop the database '%1' because it is a system database.", {name}));
    }
    if ((*found)->sessions > 0) {
        throw SqlError(3702, Format(u"Cannot drop database \"%1\" because it is currently in use.",
                                    {(*found)->name}));
    }
    (*found)->dropped = true;
    RemoveFile((*found)->path);
    databases_.erase(found);
}

std::vector<LinkedServer> ServerState::Links() {
    const std::lock_guard lock(mutex_);
    return links_;
}

std::optional<LinkedServer> ServerState::FindLink(std::u16string_view name) {
    const std::lock_guard lock(mutex_);
    for (const LinkedServer& l : links_) {
        if (SameName(l.name, name)) return l;
    }
    return std::nullopt;
}

void ServerState::AddLink(LinkedServer link) {
    const std::lock_guard lock(mutex_);
    for (const LinkedServer& l : links_) {
        if (SameName(l.name, link.name)) {
            throw SqlError(15028, Format(u"The server '%1' already exists.", {link.name}));
        }
    }
    link.id = nextLink_++;
    links_.push_back(std::move(link));
}

bool ServerState::ChangeLink(std::u16string_view name,
                             const std::function<void(LinkedServer&)>& change) {
    const std::lock_guard lock(mutex_);
    for (LinkedServer& l : links_) {
        if (SameName(l.name, name)) {
            change(l);
            return true;
        }
    }
    return false;
}

bool ServerState::DropLink(std::u16string_view name) {
    const std::lock_guard lock(mutex_);
    return std::erase_if(links_, [&](const LinkedServer& l) { return SameName(l.name, name); }) > 0;
}

bool ServerState::AcceptsLogin(std::u16string_view user, std::u16string_view password) {
    if (IsAdministrator(user)) return password == settings.password;
    const std::lock_guard lock(mutex_);
    return std::any_of(logins_.begin(), logins_.end(), [&](const Login& l) {
        return SameName(l.user, user) && l.password == password;
    });
}

bool ServerState::IsAdministrator(std::u16string_view user) const {
    return SameName(user, settings.user);
}

bool ServerState::HasLogin(std::u16string_view user) {
    if (IsAdministrator(user)) return true;
    const std::lock_guard lock(mutex_);
    return std::any_of(logins_.begin(), logins_.end(),
                       [&](const Login& l) { return SameName(l.user, user); });
}

void ServerState::AddLogin(const std::u16string& user, const std::u16string& password) {
    if (HasLogin(user)) {
        throw SqlError(15025, Format(u"The server principal '%1' already exists.", {user}));
    }
    const std::lock_guard lock(mutex_);
    logins_.push_back({user, password});
}

HostState::HostState() : folder_(MakeFolder()) {
}

HostState::~HostState() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

ServerState& HostState::AddServer(const EngineSettings& settings) {
    const std::lock_guard lock(mutex_);
    for (const auto& s : servers_) {
        if (SameName(s->settings.name, settings.name)) {
            throw std::invalid_argument("a server of this name is there already");
        }
    }
    auto server = std::make_unique<ServerState>();
    server->host = this;
    server->settings = settings;
    server->major = LeadingNumber(settings.version);
    for (const char16_t* name : {u"master", u"tempdb", u"model", u"msdb"})
        server->Create(name);
    servers_.push_back(std::move(server));
    return *servers_.back();
}

ServerState* HostState::FindServer(std::u16string_view dataSource) {
    const std::lock_guard lock(mutex_);
    for (const auto& s : servers_) {
        if (SameName(s->settings.name, dataSource)) return s.get();
        if (!s->settings.address.empty() && SameName(s->settings.address, dataSource))
            return s.get();
    }
    return nullptr;
}

std::filesystem::path HostState::NewFile() {
    return folder_ / ("db" + std::to_string(++files_) + ".sqlite");
}

}  // namespace sandbox::engine
