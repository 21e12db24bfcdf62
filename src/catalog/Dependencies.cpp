#include "catalog/Dependencies.h"

namespace QuillonLib {

std::shared_ptr<Dependency> Dependencies::AddDependency(std::u16string_view sName) {
    auto dependency = std::make_shared<Dependency>();
    list_.Add(dependency, sName);
    dependency->name_ = sName;
    return dependency;
}

}  // namespace QuillonLib
