# Compares all tables that two databases share, shows what differs, makes the second database agree
# with the first, and compares again.
#
#     .\compare.ps1 -Server SERVER -Database1 sales -Database2 sales_copy [-User NAME]
#
# Asks for the password of the user; without one the login is integrated. PowerShell connects no
# handlers to events of COM objects by itself: see compare.vbs and compare.cs for progress.
param(
    [Parameter(Mandatory)][string]$Server,
    [Parameter(Mandatory)][string]$Database1,
    [Parameter(Mandatory)][string]$Database2,
    [string]$User
)
$ErrorActionPreference = "Stop"

$cpoShowDifferent = 2
$cpoShowMissing = 4
$cpoShowAdditional = 8

$password = ""
if ($User) {
    $secret = Read-Host "Password of $User" -AsSecureString
    $password = (New-Object Net.NetworkCredential("", $secret)).Password
}

$databases = New-Object -ComObject QuillonLib.Databases
$utils = New-Object -ComObject QuillonLib.Utils
# A table that cannot be compared is told of by its result, and passed over.
$utils.SuppressCompareProcessErrors = $true

function New-Database([string]$Name) {
    $database = $databases.Add($Name)
    $database.Server = $Server
    $database.Database = $Name
    $database.Description = $Name
    if ($User) {
        $database.Username = $User
        $database.Password = $password
    } else {
        $database.NTSecurity = $true
    }
    [void]$database.Load()  # an error when the login is refused
    $database
}

# The entries of the tables that both databases have, children first: then no row is deleted before
# those that refer to it.
function Get-SharedTables($First, $Second) {
    $left = @{}
    foreach ($table in $First.Tables) {
        if ($Second.Tables.ItemExists($table.Owner, $table.Name)) { $left[$table.Description] = $table }
    }
    do {
        $ready = @(foreach ($table in $left.Values) {
            $children = @(foreach ($child in $table.ChildDependencies) { $child.Name })
            $waiting = $children | Where-Object { $_ -ne $table.Description -and $left.ContainsKey($_) }
            if (-not $waiting) { $table.Description }
        })
        foreach ($entry in $ready) { $left.Remove($entry) }
        $ready
    } while ($ready.Count -gt 0)  # what is left then is a cycle, which is left out
}

function Show-Result($Result) {
    if ($Result.Error) {
        "$($Result.Name): $($Result.Error)"
    } elseif ($Result.Identical) {
        "$($Result.Name): identical"
    } elseif (-not $Result.HasPrimaryKey) {
        "$($Result.Name): no key to compare by"
    } else {
        "$($Result.Name): $($Result.RecordsDiffering) rows differ, $($Result.RecordsIn1) rows in " +
            "the first, $($Result.RecordsIn2) in the second"
    }
}

function Format-Cell($Value) {
    if ($null -eq $Value -or $Value -is [DBNull]) { return "NULL" }
    if ($Value -is [array]) { return "(bytes)" }
    "$Value"
}

function Show-MissingRows($First, $Second, $Result) {
    $same = $null
    $different = $null
    $missing = $null
    $additional = $null
    $toRight = ""
    $toLeft = ""
    $utils.GetRecordsets($First, $Second, $Second, $Result, [ref]$same, [ref]$different,
        [ref]$missing, [ref]$additional, [ref]$toRight, [ref]$toLeft, $cpoShowMissing, 0)
    if ($null -eq $missing) { return }
    while (-not $missing.EOF) {
        "  missing: " + (@(foreach ($field in $missing.Fields) {
            "$($field.Name)=$(Format-Cell $field.Value)"
        }) -join " ")
        $missing.MoveNext()
    }
}

function Invoke-Script($Database, [string]$Script) {
    $login = "trusted_connection=yes"
    if (-not $Database.NTSecurity) { $login = "uid=$($Database.Username);pwd=$($Database.Password)" }
    $connection = New-Object Data.Odbc.OdbcConnection(
        "driver={SQL Server};server=$($Database.Server);database=$($Database.Database);$login")
    $connection.Open()
    try {
        # All on one connection: the batches share a transaction.
        foreach ($batch in $utils.GetSQLStatementsFromScript($Script)) {
            if ($batch -eq "") { continue }
            $command = $connection.CreateCommand()
            $command.CommandText = $batch
            $command.CommandTimeout = 0
            [void]$command.ExecuteNonQuery()
        }
    } finally {
        $connection.Close()
    }
}

$first = New-Database $Database1
$second = New-Database $Database2
$first.CheckDependencies = $true
$tables = [string[]]@(Get-SharedTables $first $second)

$results = $utils.CompareContents($first, $second, $second, [ref]$tables, $null, $null)
foreach ($result in $results) {
    Show-Result $result
    Show-MissingRows $first $second $result
}

$toLeft = ""
$toRight = ""
$utils.GetUpdateScripts($first, $second, $second, $results, [ref]$toLeft, [ref]$toRight,
    $cpoShowDifferent + $cpoShowMissing + $cpoShowAdditional, 0)
Invoke-Script $second $toRight

$different = 0
foreach ($result in $utils.CompareContents($first, $second, $second, [ref]$tables, $null, $null)) {
    if ($result.HasPrimaryKey -and -not $result.Identical) { $different++ }
}
"Tables that still differ: $different"
