#pragma once

#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/SqlError.h"

namespace sandbox::engine {

// Guards the recursion against hostile nesting.
struct Parser::Nesting {
    explicit Nesting(Parser& p) : parser(p) {
        if (++parser.depth_ > 400) {
            --parser.depth_;
            throw SqlError(191,
                           u"Some part of your SQL statement is nested too deeply. Rewrite the "
                           u"query or break it up into smaller queries.",
                           15);
        }
    }
    ~Nesting() { --parser.depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;
    Parser& parser;
};

}  // namespace sandbox::engine
