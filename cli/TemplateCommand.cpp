#include <CLI/App.hpp>
#include <memory>
#include <stdexcept>

#include "cli/Commands.h"
#include "cli/ComparisonOptions.h"
#include "cli/ParsedOption.h"
#include "cli/TemplateFile.h"

namespace quillon {

namespace {

using namespace QuillonLib;

struct TemplateOptions {
    std::string file;
    std::string name;
    std::string kind;
    std::string table;
    std::string element;
    std::string database1;
    std::string database2;
    std::string database3;
};

void List(const TemplateOptions& options, Console& console) {
    const TemplateFile file = TemplateFile::Existing(options.file);
    for (const std::u16string& name : file.Names()) {
        console.Print((name == file.InUse() ? "* " : "  ") + ToUtf8(name));
    }
}

void Show(const TemplateOptions& options, Console& console) {
    const TemplateContents contents =
        TemplateFile::Existing(options.file).Read(FromUtf8(options.name));
    console.Print("Database 1: " + ToUtf8(contents.database1));
    console.Print("Database 2: " + ToUtf8(contents.database2));
    console.Print("Database 3: " + ToUtf8(contents.database3));
    for (const auto& table : contents.tables.Items) {
        console.Print(ToUtf8(table));
        if (contents.indexes->ItemExists(table)) {
            console.Print("  key: " + ToUtf8(contents.indexes->Item(table)));
        }
        if (!contents.columns->ItemExists(table)) continue;
        for (const auto& column : *contents.columns->Item(table)) {
            console.Print("  column: " + ToUtf8(column));
        }
    }
}

// A store with the template in use current and bound. One that the file remembers but does not hold
// is not made anew; "Default" is.
std::unique_ptr<ComparisonTemplates> OpenInUse(const TemplateFile& file) {
    if (file.InUse() != DefaultTemplate) file.Require(file.InUse());
    return file.Open(file.InUse());
}

// Gives the store other databases, and the picks that it would drop with the old ones: they are
// read when the names have been changed.
void TakeDatabases(ComparisonTemplates& store, const TemplateOptions& options) {
    const auto set = [&](auto get, auto let, const std::string& value) {
        (store.*get)();  // a name is read before it is changed
        if (!value.empty()) (store.*let)(FromUtf8(value));
    };
    using Get = const std::u16string& (ComparisonTemplates::*)();
    using Let = void (ComparisonTemplates::*)(std::u16string_view);
    set(static_cast<Get>(&ComparisonTemplates::Database1),
        static_cast<Let>(&ComparisonTemplates::Database1), options.database1);
    set(static_cast<Get>(&ComparisonTemplates::Database2),
        static_cast<Let>(&ComparisonTemplates::Database2), options.database2);
    set(static_cast<Get>(&ComparisonTemplates::Database3),
        static_cast<Let>(&ComparisonTemplates::Database3),
        options.database3.empty() ? options.database1 : options.database3);
    for (const enItemTypes kind : {tmpTable, tmpColumn, tmpIndex})
        store.Items(kind);
}

void New(const TemplateOptions& options, Console& console) {
    const std::u16string name = FromUtf8(options.name);
    TemplateFile::RequireUsableName(name);
    if (options.database1.empty() != options.database2.empty()) {
        throw CLI::RequiredError("Two databases, or none,");
    }
    const auto store = OpenInUse(TemplateFile::ExistingOrNew(options.file));
    TakeDatabases(*store, options);
    if (!store->NewTemplate(name)) {
        throw std::runtime_error("there is a template named " + options.name + " already");
    }
    console.Note("Template " + options.name + " made and in use");
}

void Use(const TemplateOptions& options) {
    const TemplateFile file = TemplateFile::Existing(options.file);
    const std::u16string name = FromUtf8(options.name);
    file.Require(name);
    file.Open(name)->Persist();
}

// The template that is in use afterwards must be current before: the store hands the picks of a
// current template that it removes over to "Default".
void RemoveTemplate(const TemplateOptions& options) {
    const TemplateFile file = TemplateFile::Existing(options.file);
    const std::u16string name = FromUtf8(options.name);
    file.Require(name);
    TemplateFile::RequireUsableName(name);
    const bool stays = file.InUse() != name && file.Has(file.InUse());
    const auto store = file.Open(stays ? std::u16string_view(file.InUse()) : DefaultTemplate);
    if (!store->RemoveTemplate(name)) {
        throw std::runtime_error("the template " + options.name + " cannot be removed");
    }
    store->Persist();
}

enItemTypes KindOf(const std::string& kind) {
    if (kind == "table") return tmpTable;
    return kind == "column" ? tmpColumn : tmpIndex;
}

void Pick(const TemplateOptions& options) {
    if (options.kind != "table" && options.element.empty()) {
        throw CLI::RequiredError("The name of the " + options.kind);
    }
    const auto store = OpenInUse(TemplateFile::Existing(options.file));
    const std::u16string table = ToTableEntry(options.table);
    try {
        store->Add(KindOf(options.kind), table, FromUtf8(options.element));
    } catch (const Error& error) {
        if (error.Number() != ErrorNumber::DuplicateKey) throw;
        throw std::runtime_error(options.kind == "index"
                                     ? options.table + " has an index already: drop it first"
                                     : "the " + options.kind + " is picked already");
    }
    store->Persist();
}

void Drop(const TemplateOptions& options) {
    if (options.kind == "column" && options.element.empty()) {
        throw CLI::RequiredError("The name of the column");
    }
    const auto store = OpenInUse(TemplateFile::Existing(options.file));
    const std::u16string table = ToTableEntry(options.table);
    const bool namesAnother = options.kind == "index" && !options.element.empty() &&
                              !store->ItemExists(tmpIndex, table, FromUtf8(options.element));
    if (namesAnother) throw std::runtime_error("the template in use has no such index");
    try {
        store->Remove(KindOf(options.kind), table, FromUtf8(options.element));
    } catch (const Error& error) {
        if (error.Number() != ErrorNumber::InvalidArgument) throw;
        throw std::runtime_error("the template in use has no such " + options.kind);
    }
    store->Persist();
}

// Every command has the option, so that it may stand where options usually do.
CLI::Option* AddFileTo(CLI::App& command, TemplateOptions& options) {
    return command
        .add_option("--templates", options.file,
                    "Template file (default: Templates.xml beside the program)")
        ->type_name("FILE");
}

}  // namespace

void AddTemplateCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("template", "Keep named comparison set-ups in an XML file");
    command->require_subcommand(1);
    command->footer(
        "Databases are kept by description, which quillon writes as SERVER/DATABASE.\n"
        "Example:\n  quillon template new nightly db1/sales db2/sales\n"
        "  quillon template pick table dbo.customer");
    auto options = std::make_shared<TemplateOptions>();
    const CLI::Option* const inFront = AddFileTo(*command, *options);
    auto add = [&](const char* name, const char* what) {
        auto* sub = command->add_subcommand(name, what);
        AddFileTo(*sub, *options)->check([inFront](const std::string&) {
            return std::string(inFront->count() > 0 ? "given twice" : "");
        });
        return sub;
    };
    auto named = [&](const char* name, const char* what) {
        auto* sub = add(name, what);
        sub->add_option("name", options->name, "Name of the template")->required();
        return sub;
    };
    add("list", "List the templates; * marks the one in use")->callback([options, &program] {
        List(*options, program.console);
    });
    named("show", "Show a template")->callback([options, &program] {
        Show(*options, program.console);
    });
    auto* make = named("new", "Save the set-up in use under a new name");
    make->add_option("database1", options->database1, "First database, as SERVER/DATABASE");
    make->add_option("database2", options->database2, "Second database");
    make->add_option("--via", options->database3, "Third database (default: the first)");
    make->callback([options, &program] { New(*options, program.console); });
    named("use", "Make a template the one in use")->callback([options] { Use(*options); });
    named("remove", "Remove a template")->callback([options] { RemoveTemplate(*options); });
    for (const bool pick : {true, false}) {
        auto* sub = pick ? add("pick", "Add a pick to the template in use")
                         : add("drop", "Take a pick from the template in use");
        sub->add_option("kind", options->kind, "table, column or index")
            ->required()
            ->check(OneOf({"table", "column", "index"}));
        sub->add_option("table", options->table, "Table, as name or owner.name")->required();
        sub->add_option("element", options->element, "Name of the column or index");
        sub->callback([options, pick] { pick ? Pick(*options) : Drop(*options); });
    }
}

}  // namespace quillon
