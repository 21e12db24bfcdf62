#include "compare/LinkedServers.h"

#include "catalog/Database.h"
#include "core/Text.h"
#include "data/Connection.h"
#include "data/Recordset.h"

namespace QuillonLib {

bool IsOnServerOf(const Database& obDatabase, const Database& obDB3) {
    return ToUpper(obDatabase.Server()) == ToUpper(obDB3.Server());
}

void DefineLinkedServer(Database& obDatabase, const Database& obDB3, std::u16string_view name,
                        const std::shared_ptr<Connection>& connection3, Recordset& probe) {
    if (IsOnServerOf(obDatabase, obDB3)) return;
    obDatabase.LinkedServer(std::u16string(name));
    const std::u16string linked = u"'" + obDatabase.LinkedServer() + u"'";
    const std::u16string server = u"'" + obDatabase.Server() + u"'";

    probe.Open(u"SELECT COUNT(*) FROM master..sysservers WHERE srvname=" + linked, connection3);
    if (ToInt64(probe.Fields(0).Value()) != 0) {
        connection3->Execute(u"sp_dropserver " + linked + u", 'droplogins'");
    }
    connection3->Execute(u"sp_addlinkedserver " + linked + u"," + server + u", 'SQLOLEDB', " +
                         server);
    connection3->Execute(u"sp_serveroption " + linked + u", 'data access','true'");
    if (obDatabase.NTSecurity()) {
        connection3->Execute(u"sp_addlinkedsrvlogin " + linked + u",'true'");
    } else {
        const std::u16string login =
            u"sp_addlinkedsrvlogin " + linked + u",'false',NULL,'" + obDatabase.Username() + u"','";
        connection3->Execute(login + obDatabase.Password() + u"'", login + u"***'");
    }
    probe.Close();
}

std::u16string QualifiedName(const Database& obDatabase, const Database& obDB3,
                             std::u16string_view sTable) {
    std::u16string name;
    if (!IsOnServerOf(obDatabase, obDB3)) name.append(u"[" + obDatabase.LinkedServer() + u"].");
    return name.append(u"[" + obDatabase.DatabaseName() + u"].").append(sTable);
}

}  // namespace QuillonLib
