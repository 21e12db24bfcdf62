// The object model, written out. It is fixed for good: compiled callers rely on every identifier,
// on the number of every member and on the order of the members of each interface. What is added
// goes to the end of an interface.
#pragma once

namespace client {

// In the order of the type library; the members of an interface in the order of its functions.
inline constexpr char Contract[] = R"(
library QuillonLib {A3421DE0-653B-4572-90F3-1EE0AAFDE232} 1.0
enum enShowOptions {39F19691-F433-4C65-B78A-F3533D0C8D62}
enum enItemTypes {2E8737EC-A5D3-4270-9B6A-444B2921442E}
interface IUtils {A2FBCBF2-DA58-4349-BD6E-9ABF0AADD64C}
  1 get LastError
  2 set EventSink
  3 get SuppressCompareProcessErrors
  3 let SuppressCompareProcessErrors
  4 call CompareContents
  5 call CompareContentsEx
  6 call GetRecordsets
  7 call GetUpdateScripts
  8 get AvailableServers
  9 get AvailableDatabases
  10 call GetSQLStatementsFromScript
  11 call EncryptText
  12 call DecryptText
interface IDatabases {80D8AF62-4C65-4139-925C-53657919739A}
  1 call Add
  0 get Item
  -4 get NewEnum
  2 call Remove
  3 call RemoveID
  4 call ItemFromID
  5 get Count
  6 call ItemExists
  7 get Dirty
  7 let Dirty
interface IDatabase {3B57E730-E2EB-402E-9ABB-0593D8BDE714}
  1 get Server
  1 let Server
  2 get Database
  2 let Database
  3 get Username
  3 let Username
  4 get Password
  4 let Password
  5 get NTSecurity
  5 let NTSecurity
  6 get Description
  6 let Description
  7 get LinkedServer
  7 let LinkedServer
  8 get CheckDependencies
  8 let CheckDependencies
  9 get ID
  10 get LastError
  11 get Tables
  12 call Load
  13 call Refresh
  14 call ReadProperties
  15 call WriteProperties
interface ITableObjects {5334A2D4-DF54-4F15-9776-BDE8CE4B3893}
  -4 get NewEnum
  1 call ItemExists
  2 get Count
  0 get Item
interface ITableObject {81DFB2BA-AFC8-4DCB-9C8D-7E167E60C5EB}
  1 get Name
  2 get Owner
  3 get Description
  4 get IsView
  5 get Columns
  6 get Indexes
  7 get ParentDependencies
  8 get ChildDependencies
interface IColumnObjects {3E2A0F94-32F9-4B00-99FB-1E48F1C00FFB}
  -4 get NewEnum
  1 call ItemExists
  2 get Count
  0 get Item
  3 get ColumnList
interface IColumnObject {483FB415-02FF-46BF-A62B-5CFF0DB77848}
  1 get Name
  2 get PrimaryKey
  2 let PrimaryKey
  3 get CannotCompare
  3 let CannotCompare
  4 get DataType
  5 get Length
  6 get Computed
  7 get NumericScale
  8 get NumericPrecision
  9 get AllowNulls
interface IIndexObjects {CFBBE8BD-9835-4CF1-B01C-D0E1B22EC0FC}
  -4 get NewEnum
  1 call ItemExists
  2 get Count
  0 get Item
interface IIndexObject {399B4897-34D1-44F4-9620-C2DFA25CCE2F}
  1 get Name
  2 get PrimaryKey
interface IDependencies {9C4F5C56-D539-4CB5-96DC-ED9083E3DEFA}
  1 call ItemExists
  2 get AbsoluteItem
  0 get Item
  -4 get NewEnum
  3 get Count
interface IDependency {39872CDC-1693-4C13-A251-A93EE966B11C}
  1 get Name
interface ITableDifferences {8AA12167-935C-416F-B430-F49AE8CA6FC2}
  1 call Add
  0 get Item
  -4 get NewEnum
  2 call Remove
  3 get Count
  4 call ItemExists
interface ITableDifference {3A3A5652-10F3-4CBC-A601-3E711728DFAA}
  1 get Columns
  2 get Name
  3 get HasPrimaryKey
  4 get HasDodgyColumns
  5 get Identical
  6 get RecordsIn1
  7 get RecordsIn2
  8 get RecordsInUnion
  9 get RecordsDiffering
  10 get HasIdentity
  11 get Error
  12 get IsView
interface IComparisonTemplates {27F3033B-CF53-4C01-93D9-2EC6E4698729}
  1 call Load
  2 call LoadTemplate
  3 call NewTemplate
  4 call RemoveTemplate
  5 get Templates
  6 get CurrentTemplate
  7 call Flush
  8 call Persist
  9 get Dirty
  10 call Add
  11 call Remove
  12 call ItemExists
  13 get Items
  14 get Database1
  14 let Database1
  15 get Database2
  15 let Database2
  16 get Database3
  16 let Database3
  17 get DatabasesObject
  17 set DatabasesObject
interface IEventSink {CE32A2A3-9E40-400A-AED9-7174C63E062E}
events IEventSinkEvents {46122A87-ECBD-4956-93AE-4C4C5BB3F84B}
  1 call Status
  2 call ProcessError
interface IKeyedList {02C70805-773A-4663-ADA8-70EF3ABAD92F}
  1 call Add
  0 get Item
  -4 get NewEnum
  2 call Remove
  3 get Count
  4 call ItemExists
interface IRecordset {22D06BF0-E8A7-48A3-8921-322380FA1E9D}
  0 get Fields
  1 get BOF
  2 get EOF
  3 call MoveFirst
  4 call MoveNext
  5 call MovePrevious
  6 call MoveLast
  7 get AbsolutePosition
  7 let AbsolutePosition
  8 get RecordCount
  9 call GetRows
  10 call Close
  11 get State
interface IFields {429926E2-EF30-4213-9629-843F9FAD945D}
  1 get Count
  -4 get NewEnum
  0 get Item
interface IField {3A6E459D-8E40-4E4D-BCF4-470A4BD9C575}
  0 get Value
  1 get Name
  2 get Type
class Utils {2FF19B82-6EF1-4D55-890C-D9EE68E28E52}
  default IUtils
class Databases {7EB59C97-F8A8-4C81-8AC8-763FD7E9D84B}
  default IDatabases
class Database {4B3DF0C8-5B50-4CA2-B220-24E5EA8E8F96}
  default IDatabase
class TableObjects {C0ACDD9B-7B50-4244-826B-92FBD6394D7E}
  default ITableObjects
class TableObject {D05C7F69-97DD-4368-9B23-179FA00BBD53}
  default ITableObject
class ColumnObjects {4ADD40CC-4943-461D-BBE4-13169B47F1EB}
  default IColumnObjects
class ColumnObject {11E22E72-A626-4109-A7EC-421899B76449}
  default IColumnObject
class IndexObjects {FFAF5563-838B-4DD0-A0D3-9A2591745715}
  default IIndexObjects
class IndexObject {849BD9EC-F5C0-4A63-A300-9BD9F23E984E}
  default IIndexObject
class Dependencies {1F3D558E-A35B-4E26-ACA7-9A0853C51895}
  default IDependencies
class Dependency {400FCF30-F98B-40AC-BFBF-BAC7CDFD927D}
  default IDependency
class TableDifferences {0A63F2A8-637A-4594-B626-EB652D68AC3D}
  default ITableDifferences
class TableDifference {370FE6E3-70A9-4E72-9F5F-6762E39D0DBF}
  default ITableDifference
class ComparisonTemplates {E00B2ABA-86CD-43A1-AD22-20D169F03B48}
  default IComparisonTemplates
class EventSink {7309531F-51AD-4E4E-BEEC-1A303A5C707D}
  default IEventSink
  events IEventSinkEvents
class KeyedList {0F38D404-77ED-4BB1-A958-37561E0F244C}
  default IKeyedList
class Recordset {FC9F5121-F92C-4AA8-8A70-EAE26245D6DE}
  default IRecordset
class Fields {FC4AA3F6-238C-4320-ADB6-DE6C1E061D5F}
  default IFields
class Field {65317801-54A7-4484-B683-009A2CD76382}
  default IField
)";

}  // namespace client
