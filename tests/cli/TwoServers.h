// The program as it is called, against two servers that do not know each other.
#pragma once

#include <string>
#include <vector>

#include "tests/cli/ProgramFixture.h"

namespace quillon {

class TwoServers : public ProgramTest {
  protected:
    TwoServers() : other(otherBox.AddServer()) {
        const std::u16string create =
            u"CREATE DATABASE d\nGO\nUSE d\nGO\n"
            u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, name varchar(20) NULL, "
            u"note ntext NULL)\nGO\n";
        server.Run(create +
                   u"INSERT t VALUES (1, 'same', N'long'), (2, 'Case', N'long'), "
                   u"(3, 'gone', NULL)");
        other.Run(create +
                  u"INSERT t VALUES (1, 'same', N'long'), (2, 'case ', N'LONG'), "
                  u"(4, 'new', NULL)");
        first = QuillonLib::ToUtf8(server.Address()) + "/d";
        second = QuillonLib::ToUtf8(other.Address()) + "/d";
    }
    // A command on both databases.
    Outcome Direct(const std::string& command, std::vector<std::string> options = {}) const {
        options.insert(options.begin(), command);
        options.insert(options.end(), {first, second, "--user", "sa"});
        return Call(options);
    }
    void RunOnFirst(const std::u16string& sql) { server.Run(u"USE d\nGO\n" + sql); }
    void RunOnSecond(const std::u16string& sql) { other.Run(u"USE d\nGO\n" + sql); }
    void RunOnBothServers(const std::u16string& sql) {
        RunOnFirst(sql);
        RunOnSecond(sql);
    }
    // "1 same, 2 Case, ...": ids and names of t.
    static std::string RowsOfT(sandbox::Server& on) {
        std::string rows;
        for (const char16_t* id : {u"1", u"2", u"3", u"4", u"5"}) {
            const std::u16string name =
                on.Scalar(u"USE d SELECT name + '|' FROM t WHERE id = " + std::u16string(id));
            if (!name.empty()) rows += QuillonLib::ToUtf8(id + (u" " + name));
        }
        return rows;
    }
    static std::string FirstLine(const std::string& text) {
        return text.substr(0, text.find('\n'));
    }

    sandbox::Sandbox otherBox;
    sandbox::Server& other;
    std::string first;
    std::string second;
};

}  // namespace quillon
