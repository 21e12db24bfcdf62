#include <algorithm>
#include <memory>
#include <stdexcept>

#include "cli/Commands.h"
#include "cli/ComparisonOptions.h"
#include "cli/ResultTable.h"
#include "cli/ScriptOptions.h"
#include "cli/ScriptRunner.h"

namespace quillon {

namespace {

using namespace QuillonLib;

constexpr std::size_t LinesInBatch = 2000;

struct SyncOptions {
    ComparisonOptions comparison;
    ScriptOptions script;
    std::string to;
    bool yes = false;
    bool suspend = false;
};

std::shared_ptr<Connection> Open(const Database& database) {
    std::u16string text = u"driver={SQL Server};server=" + database.Server() + u";database=" +
                          database.DatabaseName();
    if (!database.NTSecurity()) {
        text += u";uid=" + database.Username() + u";pwd=" + database.Password();
    }
    auto connection = std::make_shared<Connection>();
    connection->Open(text);
    return connection;
}

struct ForeignKey {
    std::u16string table;  // bracketed, as it stands in ALTER TABLE
    std::u16string name;
};

// The enabled foreign keys of the tables that the script writes to, and those that refer to them.
std::vector<ForeignKey> EnabledForeignKeys(const std::shared_ptr<Connection>& connection,
                                           const TableDifferences& results) {
    Recordset rows;
    rows.Open(
        u"SELECT '[' + REPLACE(u.name, ']', ']]') + '].[' + REPLACE(o.name, ']', ']]') + ']', "
        u"'[' + REPLACE(k.name, ']', ']]') + ']', "
        u"'[' + u.name + '].[' + o.name + ']', '[' + u1.name + '].[' + o1.name + ']' "
        u"FROM sysreferences r INNER JOIN sysobjects k ON k.id = r.constid "
        u"INNER JOIN sysobjects o ON o.id = r.fkeyid INNER JOIN sysusers u ON u.uid = o.uid "
        u"INNER JOIN sysobjects o1 ON o1.id = r.rkeyid INNER JOIN sysusers u1 ON u1.uid = o1.uid "
        u"WHERE OBJECTPROPERTY(k.id, 'CnstIsDisabled') = 0 ORDER BY k.id",
        connection);
    std::vector<ForeignKey> keys;
    for (; !rows.EndOfSet(); rows.MoveNext()) {
        const auto text = [&](std::size_t field) {
            return rows.Fields(field).Value().Get<std::u16string>();
        };
        if (results.ItemExists(text(2)) || results.ItemExists(text(3))) {
            keys.push_back({text(0), text(1)});
        }
    }
    return keys;
}

// The script with the foreign keys switched off inside its transaction, and on again, with every
// row checked, before its end.
std::vector<std::u16string> Suspending(const std::vector<ForeignKey>& keys,
                                       std::vector<std::u16string> batches) {
    std::vector<std::u16string> all{u"BEGIN TRANSACTION"};
    for (const ForeignKey& key : keys) {
        all.push_back(u"ALTER TABLE " + key.table + u" NOCHECK CONSTRAINT " + key.name);
    }
    std::move(batches.begin(), batches.end(), std::back_inserter(all));
    for (const ForeignKey& key : keys) {
        all.push_back(u"ALTER TABLE " + key.table + u" WITH CHECK CHECK CONSTRAINT " + key.name);
    }
    all.emplace_back(u"COMMIT TRANSACTION");
    return all;
}

// The name in quotes behind "constraint", as the server's messages have it.
std::string ConstraintIn(const std::string& message) {
    const std::size_t word = message.find("constraint ");
    const std::size_t begin = message.find_first_of("\"'", word);
    if (word == std::string::npos || begin == std::string::npos) return {};
    const std::size_t end = message.find(message[begin], begin + 1);
    return end == std::string::npos ? std::string() : message.substr(begin + 1, end - begin - 1);
}

std::string Explain(const BatchFailure& failure, bool suspended) {
    std::string text = failure.what();
    std::erase(text, '\r');
    text = "batch " + std::to_string(failure.batch) + " of " + std::to_string(failure.batches) +
           " failed, and everything was rolled back:\n" + text;
    const std::string constraint = ConstraintIn(failure.what());
    const bool foreignKey = text.find("FOREIGN KEY") != std::string::npos ||
                            text.find("REFERENCE constraint") != std::string::npos;
    if (!constraint.empty() && foreignKey && !suspended) {
        text +=
            "\nThe order in which a script deletes, inserts and updates cannot satisfy the foreign "
            "key " +
            constraint + " at every step; run it again with --suspend-constraints.";
    } else if (!constraint.empty()) {
        text += "\nThe constraint " + constraint +
                " does not hold at every step, or not for the rows that are brought over; "
                "--suspend-constraints suspends foreign keys only.";
    }
    return text;
}

std::size_t CountLines(const std::vector<std::u16string>& batches) {
    std::size_t lines = 0;
    for (const auto& batch : batches) {
        for (std::size_t at = batch.find(u"EXEC "); at != std::u16string::npos;
             at = batch.find(u"\r\nEXEC ", at + 1)) {
            ++lines;
        }
    }
    return lines;
}

int Sync(const SyncOptions& options, Console& console) {
    const auto comparison = options.comparison.Make(console);
    const auto results = Run(*comparison, console);
    const int before = PrintResults(console, *results);
    if (before == 0) {
        console.Print("Nothing to do.");
        return 0;
    }
    const Scripts scripts = MakeScripts(*comparison, results, options.script, console);
    const auto& target =
        *(options.to == "1" ? comparison->databases.obDB1 : comparison->databases.obDB2);
    auto batches = CutIntoBatches(options.to == "1" ? scripts.left : scripts.right, LinesInBatch);
    const std::size_t lines = CountLines(batches);
    if (lines == 0) {
        console.Print("Nothing that a script can do.");
        return before;
    }
    const std::string name = ToUtf8(target.Server() + u"/" + target.DatabaseName());
    if (!options.yes &&
        !console.Confirm("Change " + std::to_string(lines) + " rows in " + name + "?")) {
        console.Note("quillon: nothing was changed (say yes, or use --yes)");
        return 2;
    }

    const auto connection = Open(target);
    if (options.suspend) {
        batches = Suspending(EnabledForeignKeys(connection, *results), std::move(batches));
    }
    try {
        RunBatches(*connection, batches);
    } catch (const BatchFailure& failure) {
        throw std::runtime_error(Explain(failure, options.suspend));
    }
    connection->Close();
    console.Print();
    console.Print("Changed " + std::to_string(lines) + " rows in " + name + ". Compared again:");
    console.Print();
    return PrintResults(console, *Run(*comparison, console));
}

}  // namespace

void AddSyncCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("sync", "Make one database agree with the other");
    command->footer(
        "Everything happens in one transaction; on any error nothing is changed. Back up first.\n"
        "Example:\n  quillon sync db1/sales db2/sales --user writer --to 2");
    auto options = std::make_shared<SyncOptions>();
    options->comparison.AddTo(*command);
    options->script.AddTo(*command);
    command->add_option("--to", options->to, "Database that is changed")
        ->check(CLI::IsMember({"1", "2"}))
        ->required();
    command->add_flag("--yes", options->yes, "Do not ask");
    command->add_flag("--suspend-constraints", options->suspend,
                      "Switch foreign keys off inside the transaction, and check every row before "
                      "its end");
    command->callback([options, &program] { program.exitCode = Sync(*options, program.console); });
}

}  // namespace quillon
