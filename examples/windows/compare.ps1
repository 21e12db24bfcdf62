# Compares the tables that two databases share and writes the script for the second into a file.
#
#     .\compare.ps1 -Server SERVER -Database1 sales -Database2 sales_copy
#
# The login is integrated. PowerShell connects no handlers to events of COM objects by itself: see
# compare.vbs and compare.cs for progress.
param([string]$Server, [string]$Database1, [string]$Database2, [string]$Output = "update.sql")

$databases = New-Object -ComObject QuillonLib.Databases
$first, $second = foreach ($name in $Database1, $Database2) {
    $database = $databases.Add($name)
    $database.Server = $Server
    $database.Database = $name
    $database.NTSecurity = $true
    [void]$database.Load()
    $database
}

$tables = [string[]]@(foreach ($table in $first.Tables) {
    if ($second.Tables.ItemExists($table.Owner, $table.Name)) { $table.Description }
})

$utils = New-Object -ComObject QuillonLib.Utils
$utils.SuppressCompareProcessErrors = $true
$results = $utils.CompareContents($first, $second, $second, [ref]$tables, $null, $null)
foreach ($result in $results) {
    "{0}: {1} / {2} rows, {3} differ {4}" -f $result.Name, $result.RecordsIn1, $result.RecordsIn2,
        $result.RecordsDiffering, $result.Error
}

$left = ""
$right = ""
$utils.GetUpdateScripts($first, $second, $second, $results, [ref]$left, [ref]$right, 2 + 4 + 8, 0)
[IO.File]::WriteAllText((Join-Path (Get-Location) $Output), $right, [Text.Encoding]::Unicode)
