#include "cli/TableDependencies.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <map>

#include "cli/CatalogSurvey.h"

namespace quillon {

namespace {

using namespace QuillonLib;

// Tarjan's strongly connected components, with a stack of its own: chains of tables may be long.
class Components {
  public:
    explicit Components(std::vector<std::vector<std::size_t>> parents)
        : parents_(std::move(parents)),
          number_(parents_.size(), None),
          low_(parents_.size(), None),
          waits_(parents_.size(), false) {}

    // Parents come before their children.
    std::vector<std::vector<std::size_t>> Find() {
        for (std::size_t node = 0; node < parents_.size(); ++node) {
            if (number_[node] == None) Visit(node);
        }
        return std::move(components_);
    }

  private:
    static constexpr std::size_t None = std::numeric_limits<std::size_t>::max();
    struct Step {
        std::size_t node;
        std::size_t nextParent = 0;
    };

    void Enter(std::size_t node) {
        number_[node] = low_[node] = counter_++;
        waiting_.push_back(node);
        waits_[node] = true;
        path_.push_back({node});
    }

    void Visit(std::size_t root) {
        Enter(root);
        while (!path_.empty()) {
            Step& step = path_.back();
            const std::size_t node = step.node;
            if (step.nextParent < parents_[node].size()) {
                const std::size_t parent = parents_[node][step.nextParent++];
                if (number_[parent] == None) {
                    Enter(parent);
                } else if (waits_[parent]) {
                    low_[node] = std::min(low_[node], number_[parent]);
                }
                continue;
            }
            path_.pop_back();
            if (!path_.empty()) {
                std::size_t& low = low_[path_.back().node];
                low = std::min(low, low_[node]);
            }
            if (low_[node] == number_[node]) Leave(node);
        }
    }

    void Leave(std::size_t root) {
        std::vector<std::size_t>& component = components_.emplace_back();
        for (std::size_t node = None; node != root;) {
            node = waiting_.back();
            waiting_.pop_back();
            waits_[node] = false;
            component.push_back(node);
        }
        std::sort(component.begin(), component.end());
    }

    const std::vector<std::vector<std::size_t>> parents_;
    std::vector<std::size_t> number_;
    std::vector<std::size_t> low_;
    std::vector<bool> waits_;
    std::vector<std::size_t> waiting_;
    std::vector<Step> path_;
    std::vector<std::vector<std::size_t>> components_;
    std::size_t counter_ = 0;
};

}  // namespace

std::vector<std::vector<std::u16string>> GroupByDependency(
    Database& obDB1, const std::vector<std::u16string>& tables) {
    std::map<std::u16string, std::size_t, NameLess> numbers;
    for (std::size_t i = 0; i < tables.size(); ++i)
        numbers.emplace(tables[i], i);
    std::vector<std::vector<std::size_t>> parents(tables.size());
    const auto catalog = obDB1.Tables();
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if (!catalog->ItemExists(tables[i])) continue;
        const auto dependencies = catalog->Item(tables[i])->ParentDependencies();
        for (const auto& dependency : *dependencies) {
            const auto parent = numbers.find(dependency->Name());
            if (parent != numbers.end()) parents[i].push_back(parent->second);
        }
    }

    std::vector<std::vector<std::u16string>> groups;
    for (const std::vector<std::size_t>& component : Components(std::move(parents)).Find()) {
        std::vector<std::u16string>& group = groups.emplace_back();
        for (const std::size_t node : component)
            group.push_back(tables[node]);
    }
    std::reverse(groups.begin(), groups.end());
    return groups;
}

}  // namespace quillon
