// Compares one table of two databases, with progress.
//
// Add a COM reference to "QuillonLib 1.0" (or: tlbimp QuillonLib.tlb /out:Interop.QuillonLib.dll) and
// compile for the kind of processor that the DLL is for. Embedding of interop types has to be off for
// the events.
using System;
using QuillonLib;

static class Compare
{
    [STAThread]
    static void Main(string[] arguments)
    {
        var databases = new Databases();
        Database first = NewDatabase(databases, arguments[0], arguments[1]);
        Database second = NewDatabase(databases, arguments[0], arguments[2]);

        var sink = new EventSink();
        sink.Status += (string message, short percent, ref bool cancel) =>
            Console.WriteLine($"{percent} % {message}");

        var utils = new Utils { EventSink = sink };
        Array tables = new[] { arguments[3] };  // "[dbo].[Orders]"
        TableDifferences results =
            (TableDifferences)utils.CompareContents(first, second, second, ref tables, null, null);
        foreach (TableDifference result in results)
            Console.WriteLine($"{result.Name}: {result.RecordsDiffering} rows differ");
    }

    static Database NewDatabase(Databases databases, string server, string name)
    {
        var database = (Database)databases.Add(Type.Missing);
        database.Server = server;
        database.Database = name;
        database.NTSecurity = true;
        database.Description = name;
        return database;
    }
}
