// How --help shows options: as a person writes them, and not in the parser's own terms.
#pragma once

#include <CLI/App.hpp>
#include <string>

namespace quillon {

class HelpFormatter : public CLI::Formatter {
  public:
    std::string make_option_name(const CLI::Option* option, bool positional) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_option_desc(const CLI::Option* option) const override;
};

}  // namespace quillon
