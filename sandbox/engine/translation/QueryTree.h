// A query between its names being bound and its SQL being written.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sandbox/engine/translation/Translator.h"

namespace sandbox::engine {

struct Translator::Core {
    const Query* query = nullptr;
    Scope scope;
    std::vector<Bound> outputs;
    std::vector<std::u16string> names;
    std::vector<std::u16string> variables;
    std::string from, where, group, limit;
};

struct Translator::Tree {
    const Query* query = nullptr;
    std::unique_ptr<Core> core;            // one SELECT
    std::unique_ptr<Tree> left, right;     // a set operation
    std::vector<std::vector<Bound>> rows;  // VALUES
};

}  // namespace sandbox::engine
