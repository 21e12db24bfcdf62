#include "catalog/IndexObject.h"

namespace QuillonLib {

std::shared_ptr<IndexObject> IndexObjects::AddIndex(std::u16string_view vKey) {
    return AddItem(std::make_shared<IndexObject>(), vKey);
}

}  // namespace QuillonLib
