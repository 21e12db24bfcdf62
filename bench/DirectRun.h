// A direct comparison as a benchmark runs it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "catalog/Database.h"
#include "data/ConnectionString.h"
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

// For a bare connection, with packets as large as those of the library.
inline std::u16string TextOfLogin(const ServerProcess& server, const char16_t* database) {
    return u"TDS_Version=7.4;PacketSize=16000;" +
           QuillonLib::BuildConnectionString(server.Address(), database, false, u"sa", u"sandbox");
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
