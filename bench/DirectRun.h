// A direct comparison as a benchmark runs it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "catalog/Database.h"
#include "direct/DirectComparison.h"

namespace bench {

inline std::shared_ptr<QuillonLib::Database> Describe(const std::u16string& address,
                                                      const char16_t* name) {
    auto database = std::make_shared<QuillonLib::Database>();
    database->Server(address);
    database->DatabaseName(name);
    database->Username(u"sa");
    database->Password(u"sandbox");
    return database;
}

inline std::vector<QuillonLib::DirectTableResult> CompareTables(
    const QuillonLib::Database& one, const QuillonLib::Database& two,
    const std::vector<std::u16string>& names, const QuillonLib::DirectSink& sink = {},
    int jobs = 1) {
    std::vector<QuillonLib::DirectTable> tables;
    for (const std::u16string& name : names)
        tables.push_back({{u"dbo", name}, {}, {}, {}});
    QuillonLib::DirectOptions options;
    options.jobs = jobs;
    return QuillonLib::CompareDirectly(one, two, tables, options, sink);
}

}  // namespace bench
