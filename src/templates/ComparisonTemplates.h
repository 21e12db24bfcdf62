// Named comparison set-ups, kept in one XML file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "catalog/Databases.h"
#include "core/BoundedArray.h"
#include "core/Export.h"
#include "core/KeyedList.h"
#include "core/Options.h"

namespace QuillonLib {

class FileOperations;

// A list of texts that are their own keys, and lists of texts by table.
using NameList = KeyedList<std::u16string>;
using ColumnLists = KeyedList<std::shared_ptr<NameList>>;

// A template holds the descriptions of three databases and the tables, columns and indexes picked
// for a comparison of them. One template is current at a time; the file remembers which.
//
// The file is read when it is first needed. Nothing is written but by Persist, which NewTemplate
// calls itself. Two objects on one file do not know of each other: the last Persist wins.
//
// Errors that any operation may throw, besides those told with it: 91 when no template is bound
// (a stored name that is already current binds nothing: see LoadTemplate), 94 for an element of
// the file without its name or id, 0x80004005 for a name that a path expression or XML cannot
// hold (an apostrophe, for one), whatever the databases raise while picks are checked.
class QUILLON_API ComparisonTemplates {
  public:
    ComparisonTemplates();
    // With other calls to the system under Persist; for tests.
    explicit ComparisonTemplates(FileOperations& files);
    ~ComparisonTemplates();
    ComparisonTemplates(const ComparisonTemplates&) = delete;
    ComparisonTemplates& operator=(const ComparisonTemplates&) = delete;

    // Opens a file; an empty path means "Templates.xml" in the folder of the library's own file.
    // False when the file is missing or cannot be read as XML (the store then begins empty, and the
    // file is left alone until Persist replaces it), and when it is the one that is open already
    // (nothing happens then). Not read, for it could not be written back: elements nested more than
    // 256 deep, entities of its own, bytes without a meaning in the encoding that it declares.
    //
    // The current template, what is bound and the lists in memory stay those of the file before
    // until LoadTemplate makes another name current. A Persist until then saves the new file as it
    // was loaded, and so makes an empty file of a missing one. Where nothing has been bound yet,
    // Persist makes "Default" instead, and the file with it.
    bool Load(std::u16string_view sXMLFile);

    // Makes a template current and binds it, creating it in memory if the file has none of that
    // name; unsaved changes are dropped. An empty name means "Default". Nothing happens when the
    // name, letter for letter, is current already.
    void LoadTemplate(std::u16string_view sTemplate);

    // Saves the current databases and picks under a new name, makes it current and writes the
    // file. False, and nothing else, when there is one of that name in any case.
    bool NewTemplate(std::u16string_view sTemplate);

    // Removes a template in memory; Persist makes it last. False for "default" in any case, else
    // true even where there was none. "Default" takes the place of a current one, and its picks.
    bool RemoveTemplate(std::u16string_view sTemplate);

    // The names of all templates in file order. Error 457 when two differ in case only.
    // Keep the pointer while walking the list: the store drops its own as soon as a template is
    // made or removed. A list that was handed out stays as it was.
    std::shared_ptr<NameList> Templates();

    // Empty until the file has been opened.
    const std::u16string& CurrentTemplate() const;

    // Drops unsaved picks and database names of the current template.
    void Flush();

    // Writes everything to the file, whole or not at all (error 75). False when no file has been
    // opened. Picks that are no longer valid are left out; error 5, with nothing saved, when a
    // table dropped so has no column pick or no index pick.
    //
    // What is written is, for tables, the list that Items(tmpTable) copies; for columns, the tables
    // that got a column by Add or from the file, each with what its list in Items(tmpColumn) holds
    // (error 5 when that is gone); for indexes, the tables that got an index so, each with its
    // entry in Items(tmpIndex) (error 5 when it is gone). A table that was added to one of the two
    // shared lists alone is not written.
    bool Persist();

    // Whether there are unsaved changes.
    bool Dirty() const;

    // Picks. For tmpTable the element name is not used; for tmpColumn it is the column, for
    // tmpIndex the index. Kinds beyond the three do nothing, and exist.
    //
    // Add passes over what is not valid for both databases; error 457 when it is there already.
    // Remove of a column without its name removes all columns of the table; error 5 when absent.
    void Add(enItemTypes enItemType, std::u16string_view sTableName,
             std::u16string_view sElementName = {});
    void Remove(enItemTypes enItemType, std::u16string_view sTableName,
                std::u16string_view sElementName = {});
    bool ItemExists(enItemTypes enItemType, std::u16string_view sTableName,
                    std::u16string_view sElementName = {});

    // tmpTable: an array from 0 of table names (error 6 for more than 32,767). tmpColumn: the
    // column lists by table. tmpIndex: the index names by table. The two lists are the store's own:
    // what is changed through them is saved (see Persist), Add and Remove change them, too, and
    // spoil a walk over them. Keep the pointer: the store drops its own when another template is
    // loaded, on Flush and when a database changes. Nothing for other kinds.
    //
    // A list is read from the file when it is first needed. An error on the way (457 for an entry
    // that stands there twice, 94, whatever the databases raise) leaves it as far as it was read,
    // and not to be read again: the next Persist would write it so. Flush before going on.
    using ItemsResult = std::variant<std::monostate, TextArray, std::shared_ptr<ColumnLists>,
                                     std::shared_ptr<NameList>>;
    ItemsResult Items(enItemTypes enItemType);

    // Descriptions of the databases. Assigning another value empties the lists of picks. Read a
    // name before changing it: names that have not been read yet replace what was assigned.
    const std::u16string& Database1();
    const std::u16string& Database2();
    const std::u16string& Database3();
    void Database1(std::u16string_view sDatabase1);
    void Database2(std::u16string_view sDatabase2);
    void Database3(std::u16string_view sDatabase3);

    // Where the databases are found by description, so that picks can be checked; without it every
    // pick is valid. Set it before the databases of a template are first read; then read Database1
    // before any picks. Reading picks reads no database names, and until those are known no pick is
    // valid: the list would be read as empty, and saved so.
    std::shared_ptr<Databases> DatabasesObject() const;
    void DatabasesObject(std::shared_ptr<Databases> obDatabasesObject);

  private:
    class QUILLON_LOCAL Store;
    std::unique_ptr<Store> store_;
};

}  // namespace QuillonLib
