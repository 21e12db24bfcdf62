// The style and the script of the report, from cli/report/; the build puts them into the program.
#pragma once

#include <string_view>

namespace quillon {

extern const std::string_view ReportStyle;
extern const std::string_view ReportScript;

}  // namespace quillon
