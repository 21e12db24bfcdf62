// A template whose picks are checked against two databases of the sandbox, "one" and "two".
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "TemplateFolder.h"
#include "tests/support/SandboxTest.h"

namespace QuillonLib {

// A file whose picks both databases have.
inline constexpr const char* StoredPicks =
    "<templates><lasttemplate name=\"Default\"/><template id=\"Default\">"
    "<database1 name=\"one\"/><database2 name=\"two\"/><database3 name=\"\"/>"
    "<tables><table id=\"[dbo].[both]\"/></tables>"
    "<columns><table id=\"[dbo].[both]\"><column id=\"c\"/></table></columns>"
    "<indexes><table id=\"[dbo].[both]\"><index id=\"PK_both\"/></table></indexes>"
    "</template></templates>";

class TemplateDatabases : public SandboxTest, protected TemplateFolder {
  protected:
    TemplateDatabases() {
        server.Run(u"CREATE DATABASE one\nGO\nCREATE DATABASE two");
        RunInBoth(
            u"CREATE TABLE both (id int NOT NULL CONSTRAINT PK_both PRIMARY KEY, c int, d int)");
        RunInBoth(u"CREATE TABLE other (id int NOT NULL CONSTRAINT PK_other PRIMARY KEY)");
        server.Run(
            u"USE one\nGO\nCREATE TABLE only1 (id int)\nGO\nALTER TABLE both ADD e int NULL\nGO\n"
            u"CREATE UNIQUE INDEX ix1 ON both (c)");
        databases = std::make_shared<Databases>();
        AddDatabase(u"one", u"one");
        AddDatabase(u"two", u"two");
        store.Load(file.u16string());
        store.DatabasesObject(databases);
        EXPECT_EQ(store.Database1(), u"");
        store.Database1(u"one");
        store.Database2(u"two");
    }

    void AddDatabase(const char16_t* name, const char16_t* description) {
        const auto database = databases->Add();
        database->Server(server.Address());
        database->DatabaseName(name);
        database->Username(u"sa");
        database->Password(u"sandbox");
        database->Description(description);
    }
    void RunInBoth(const std::u16string& sql) {
        server.Run(u"USE one\nGO\n" + sql + u"\nGO\nUSE two\nGO\n" + sql);
    }
    void DropFromBothAndRefresh(const std::u16string& sql) {
        RunInBoth(sql);
        for (const auto& database : *databases)
            database->Refresh();
    }

    std::shared_ptr<Databases> databases;
    ComparisonTemplates store;
};

inline constexpr const char16_t* Both = u"[dbo].[both]";
inline constexpr const char16_t* Other = u"[dbo].[other]";

}  // namespace QuillonLib
