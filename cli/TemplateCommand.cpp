#include <memory>
#include <stdexcept>

#include "cli/Commands.h"
#include "cli/ComparisonOptions.h"

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

// A store with the template of that name current and bound. A name that is stored as the last one
// would be current without being bound once the file is open, so it is loaded before anything else.
std::unique_ptr<ComparisonTemplates> OpenTemplate(const TemplateOptions& options,
                                                  const std::string& name) {
    auto store = std::make_unique<ComparisonTemplates>();
    store->Load(FromUtf8(options.file));
    store->LoadTemplate(FromUtf8(name));
    return store;
}

void RequireTemplate(const TemplateOptions& options, const std::string& name) {
    ComparisonTemplates store;
    store.Load(FromUtf8(options.file));
    const auto names = store.Templates();
    for (const auto& existing : *names) {
        if (existing == FromUtf8(name)) return;
    }
    throw std::runtime_error("there is no template named " + name);
}

// The template that the file remembers as the last one.
std::string LastTemplate(const TemplateOptions& options) {
    ComparisonTemplates store;
    store.Load(FromUtf8(options.file));
    store.Templates();
    return store.CurrentTemplate().empty() ? "Default" : ToUtf8(store.CurrentTemplate());
}

void List(const TemplateOptions& options, Console& console) {
    ComparisonTemplates store;
    store.Load(FromUtf8(options.file));
    const auto names = store.Templates();
    for (const auto& name : *names) {
        const bool current = name == store.CurrentTemplate();
        console.Print((current ? "* " : "  ") + ToUtf8(name));
    }
}

void Show(const TemplateOptions& options, Console& console) {
    RequireTemplate(options, options.name);
    const auto store = OpenTemplate(options, options.name);
    console.Print("Database 1: " + ToUtf8(store->Database1()));
    console.Print("Database 2: " + ToUtf8(store->Database2()));
    console.Print("Database 3: " + ToUtf8(store->Database3()));
    const auto columns = std::get<std::shared_ptr<ColumnLists>>(store->Items(tmpColumn));
    const auto indexes = std::get<std::shared_ptr<NameList>>(store->Items(tmpIndex));
    const TextArray tables = std::get<TextArray>(store->Items(tmpTable));
    for (const auto& table : tables.Items) {
        console.Print(ToUtf8(table));
        if (indexes->ItemExists(table)) console.Print("  key: " + ToUtf8(indexes->Item(table)));
        if (!columns->ItemExists(table)) continue;
        for (const auto& column : *columns->Item(table)) {
            console.Print("  column: " + ToUtf8(column));
        }
    }
}

void New(const TemplateOptions& options, Console& console) {
    const std::string last = LastTemplate(options);
    const auto store = OpenTemplate(options, last);
    const auto set = [&](auto get, auto let, const std::string& value) {
        (store.get()->*get)();  // a name is read before it is changed
        if (!value.empty()) (store.get()->*let)(FromUtf8(value));
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
    if (!store->NewTemplate(FromUtf8(options.name))) {
        throw std::runtime_error("there is a template named " + options.name + " already");
    }
    console.Note("Template " + options.name + " made and in use");
}

void Use(const TemplateOptions& options) {
    RequireTemplate(options, options.name);
    OpenTemplate(options, options.name)->Persist();
}

void RemoveTemplate(const TemplateOptions& options) {
    RequireTemplate(options, options.name);
    const auto store = OpenTemplate(options, LastTemplate(options));
    if (!store->RemoveTemplate(FromUtf8(options.name))) {
        throw std::runtime_error("the template Default cannot be removed");
    }
    store->Persist();
}

enItemTypes KindOf(const std::string& kind) {
    if (kind == "table") return tmpTable;
    return kind == "column" ? tmpColumn : tmpIndex;
}

void Pick(const TemplateOptions& options, bool add) {
    if (add && options.kind != "table" && options.element.empty()) {
        throw CLI::RequiredError("The name of the " + options.kind);
    }
    const auto store = OpenTemplate(options, LastTemplate(options));
    const std::u16string table = ToTableEntry(options.table);
    if (add) {
        store->Add(KindOf(options.kind), table, FromUtf8(options.element));
    } else {
        store->Remove(KindOf(options.kind), table, FromUtf8(options.element));
    }
    store->Persist();
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
    command->add_option("--templates", options->file,
                        "Template file (default: Templates.xml beside the program)");
    auto named = [&](const char* name, const char* what) {
        auto* sub = command->add_subcommand(name, what);
        sub->add_option("name", options->name, "Name of the template")->required();
        return sub;
    };
    command->add_subcommand("list", "List the templates; * marks the one in use")
        ->callback([options, &program] { List(*options, program.console); });
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
    for (const bool add : {true, false}) {
        auto* sub = add ? command->add_subcommand("pick", "Add a pick to the template in use")
                        : command->add_subcommand("drop", "Take a pick from the template in use");
        sub->add_option("kind", options->kind, "table, column or index")
            ->required()
            ->check(CLI::IsMember({"table", "column", "index"}));
        sub->add_option("table", options->table, "Table, as name or owner.name")->required();
        sub->add_option("element", options->element, "Name of the column or index");
        sub->callback([options, add] { Pick(*options, add); });
    }
}

}  // namespace quillon
