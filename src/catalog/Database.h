// One database that takes part in a comparison: where it is, how to log in, and its catalog.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "catalog/LoginData.h"
#include "catalog/TableObject.h"
#include "core/Export.h"

namespace QuillonLib {

class PropertyBag;

// Holds no connection between calls: an operation that needs the server logs in, works, and lets
// go before it returns. Changing a property does not drop a catalog already loaded; Refresh does.
class QUILLON_API Database {
  public:
    // The server instance: "HOST", "HOST,port" or "HOST\INSTANCE". Passed to the driver unchanged.
    const std::u16string& Server() const { return login_.Server; }
    void Server(std::u16string value) { login_.Server = std::move(value); }

    // The object model's `Database` property; here a class's own name is its constructor's.
    const std::u16string& DatabaseName() const { return database_; }
    void DatabaseName(std::u16string value) { database_ = std::move(value); }

    const std::u16string& Username() const { return login_.Username; }
    void Username(std::u16string value) { login_.Username = std::move(value); }
    // Never written to a property bag.
    const std::u16string& Password() const { return login_.Password; }
    void Password(std::u16string value) { login_.Password = std::move(value); }
    // Integrated login: user name and password are not sent.
    bool NTSecurity() const { return login_.NTSecurity; }
    void NTSecurity(bool value) { login_.NTSecurity = value; }
    const LoginData& Login() const { return login_; }

    // The ODBC driver: its name, or, where the driver manager takes one (unixODBC), the path of its
    // file, which begins with "/". Neither may hold a brace. Empty: "SQL Server". What a driver
    // other than FreeTDS needs told goes into the keywords.
    const std::u16string& Driver() const { return login_.Driver; }
    void Driver(std::u16string value) { login_.Driver = std::move(value); }

    // More of the connection string, placed behind the rest as it stands, for what the driver knows
    // and the object model does not: u"encryption=require". Neither this, nor the driver, nor the
    // time-outs are written to a property bag; linked servers know nothing of them.
    const std::u16string& ConnectionKeywords() const { return login_.Keywords; }
    void ConnectionKeywords(std::u16string value) { login_.Keywords = std::move(value); }
    // How long a login may take (default: 15 s), and a batch (default: 0). 0: no limit. Beyond it
    // the Error of the driver is thrown.
    std::chrono::seconds LoginTimeout() const { return login_.LoginTimeout; }
    void LoginTimeout(std::chrono::seconds value) { login_.LoginTimeout = value; }
    std::chrono::seconds CommandTimeout() const { return login_.CommandTimeout; }
    void CommandTimeout(std::chrono::seconds value) { login_.CommandTimeout = value; }

    // Hears of what the connections to this database send, from the next login on; null: nobody
    // does. Not written to a property bag.
    const std::shared_ptr<StatementListener>& Listener() const { return login_.Listener; }
    void Listener(std::shared_ptr<StatementListener> value) { login_.Listener = std::move(value); }

    // The caller's label, by which comparison templates find the database again.
    const std::u16string& Description() const { return description_; }
    void Description(std::u16string value) { description_ = std::move(value); }

    // The name of this server as a linked server on the server of database 3; set by comparisons.
    const std::u16string& LinkedServer() const { return linkedServer_; }
    void LinkedServer(std::u16string value) { linkedServer_ = std::move(value); }

    // Whether loading the catalog also reads the dependencies between tables.
    bool CheckDependencies() const { return checkDependencies_; }
    void CheckDependencies(bool value) { checkDependencies_ = value; }

    // 1, 2, 3 ... within its Databases; 0 outside of one.
    std::int32_t ID() const { return id_; }

    // The text of the last failure of Load or Tables; each of the two clears it first.
    const std::u16string& LastError() const { return lastError_; }

    // Logs in and out again. Returns true, or throws the Error of the login. The database name
    // is not used: a database that is missing goes unnoticed.
    bool Load();

    // The catalog: user tables, then indexed views (above compatibility level 70). Read from the
    // server the first time, then kept. Throws an Error (3265 when the server has no such
    // database); the next read then starts afresh.
    std::shared_ptr<TableObjects> Tables();

    // Drops the catalog; what has been handed out stays valid.
    void Refresh() { tables_ = nullptr; }

    // Writes "NTSecurity", "Username", "Database", "Server", "Description", and the catalog as
    // "Tables". Reading empties the password, and leaves the catalog unloaded where the bag holds
    // none.
    void WriteProperties(PropertyBag& bag) const;
    void ReadProperties(const PropertyBag& bag);

  private:
    friend class Databases;
    void SetID(std::int32_t lID) { id_ = lID; }

    void WriteSettings(PropertyBag& bag) const;
    void ReadSettings(const PropertyBag& bag);
    std::shared_ptr<TableObjects> LoadCatalog();

    LoginData login_;
    std::u16string database_;
    std::u16string description_;
    std::u16string linkedServer_;
    bool checkDependencies_ = false;
    std::int32_t id_ = 0;
    std::u16string lastError_;
    std::shared_ptr<TableObjects> tables_;
};

}  // namespace QuillonLib
