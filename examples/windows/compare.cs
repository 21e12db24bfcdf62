// Compares all tables that two databases share, with progress, shows what differs, makes the second
// database agree with the first, and compares again.
//
//     tlbimp QuillonLib.tlb /sysarray /out:Interop.QuillonLib.dll
//     csc /platform:x64 /r:Interop.QuillonLib.dll compare.cs
//     compare SERVER DATABASE1 DATABASE2 [USER]
//
// Asks for the password of USER; without USER the login is integrated. In a project: add a COM
// reference to "QuillonLib 1.0", compile for the kind of processor that the DLL is for, and switch
// the embedding of interop types off, which the events need.
using System;
using System.Collections.Generic;
using System.Data.Odbc;
using System.Linq;
using QuillonLib;

static class Compare
{
    static readonly Utils utils = new Utils();

    [STAThread]
    static int Main(string[] arguments)
    {
        if (arguments.Length < 3 || arguments.Length > 4)
        {
            Console.Error.WriteLine("compare SERVER DATABASE1 DATABASE2 [USER]");
            return 2;
        }
        string user = arguments.Length > 3 ? arguments[3] : null;
        string password = user == null ? null : Ask($"Password of {user}: ");

        var sink = new EventSink();
        // Set cancel to true to stop.
        sink.Status += (string message, short percent, ref bool cancel) =>
            Console.WriteLine($"{percent} % {message}");
        sink.ProcessError += (int number, string text, ref bool cancel) =>
            Console.WriteLine($"Not compared: {text}");
        utils.EventSink = sink;
        // A table that cannot be compared is told of, and passed over.
        utils.SuppressCompareProcessErrors = true;

        var databases = new Databases();
        Database first = NewDatabase(databases, arguments[0], arguments[1], user, password);
        Database second = NewDatabase(databases, arguments[0], arguments[2], user, password);
        first.CheckDependencies = true;
        Array tables = SharedTables(first, second).ToArray();

        TableDifferences results = utils.CompareContents(first, second, second, ref tables, null, null);
        if (results == null)
        {
            Console.WriteLine("Cancelled");
            return 1;
        }
        foreach (TableDifference result in results)
        {
            ShowResult(result);
            ShowMissingRows(first, second, result);
        }

        string toLeft = "";
        string toRight = "";
        utils.GetUpdateScripts(first, second, second, results, ref toLeft, ref toRight,
            enShowOptions.cpoShowDifferent | enShowOptions.cpoShowMissing | enShowOptions.cpoShowAdditional, 0);
        RunScript(second, toRight);

        results = utils.CompareContents(first, second, second, ref tables, null, null);
        int different = results.Cast<TableDifference>()
            .Count(result => result.HasPrimaryKey && !result.Identical);
        Console.WriteLine($"Tables that still differ: {different}");
        return 0;
    }

    static string Ask(string question)
    {
        Console.Write(question);
        return Console.ReadLine();
    }

    static Database NewDatabase(Databases databases, string server, string name, string user, string password)
    {
        Database database = (Database)databases.Add(name);
        database.Server = server;
        database.Database = name;
        database.Description = name;
        if (user == null)
        {
            database.NTSecurity = true;
        }
        else
        {
            database.Username = user;
            database.Password = password;
        }
        database.Load();  // an exception when the login is refused
        return database;
    }

    // The entries of the tables that both databases have, children first: then no row is deleted
    // before those that refer to it. A cycle is left out.
    static IEnumerable<string> SharedTables(Database first, Database second)
    {
        var left = first.Tables.Cast<TableObject>()
            .Where(table => second.Tables.ItemExists(table.Owner, table.Name))
            .ToDictionary(table => table.Description, StringComparer.OrdinalIgnoreCase);
        for (;;)
        {
            List<string> ready = left.Values
                .Where(table => !table.ChildDependencies.Cast<Dependency>().Any(
                    child => child.Name != table.Description && left.ContainsKey(child.Name)))
                .Select(table => table.Description)
                .ToList();
            if (ready.Count == 0) yield break;
            foreach (string entry in ready)
            {
                left.Remove(entry);
                yield return entry;
            }
        }
    }

    static void ShowResult(TableDifference result)
    {
        if (result.Error != "")
            Console.WriteLine($"{result.Name}: {result.Error}");
        else if (result.Identical)
            Console.WriteLine($"{result.Name}: identical");
        else if (!result.HasPrimaryKey)
            Console.WriteLine($"{result.Name}: no key to compare by");
        else
            Console.WriteLine($"{result.Name}: {result.RecordsDiffering} rows differ, {result.RecordsIn1} " +
                $"rows in the first, {result.RecordsIn2} in the second");
    }

    static string Shown(object value)
    {
        if (value == null || value is DBNull) return "NULL";
        return value is Array ? "(bytes)" : value.ToString();
    }

    static void ShowMissingRows(Database first, Database second, TableDifference result)
    {
        Recordset same = null, different = null, missing = null, additional = null;
        string toRight = "", toLeft = "";
        utils.GetRecordsets(first, second, second, result, ref same, ref different, ref missing,
            ref additional, ref toRight, ref toLeft, enShowOptions.cpoShowMissing, 0);
        if (missing == null) return;
        for (; !missing.EOF; missing.MoveNext())
        {
            var cells = missing.Fields.Cast<Field>().Select(field => $"{field.Name}={Shown(field.Value)}");
            Console.WriteLine("  missing: " + string.Join(" ", cells));
        }
    }

    static void RunScript(Database database, string script)
    {
        string login = database.NTSecurity
            ? "trusted_connection=yes"
            : $"uid={database.Username};pwd={database.Password}";
        using (var connection = new OdbcConnection(
            $"driver={{SQL Server}};server={database.Server};database={database.Database};{login}"))
        {
            connection.Open();
            // All on one connection: the batches share a transaction.
            foreach (string batch in (Array)utils.GetSQLStatementsFromScript(script))
            {
                if (batch == "") continue;
                using (var command = new OdbcCommand(batch, connection) { CommandTimeout = 0 })
                    command.ExecuteNonQuery();
            }
        }
    }
}
