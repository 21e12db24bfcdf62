#include "automation/Classes.h"

#include <memory>

#include "automation/ComComparisonTemplates.h"
#include "automation/ComKeyedList.h"
#include "automation/ComUtils.h"

namespace QuillonLib::Automation {

namespace {

template <class Wrapper>
ComPtr<IUnknown> Create() {
    return Wrapper::Of(std::make_shared<typename Wrapper::Core>()).template As<IUnknown>();
}

ComPtr<IUnknown> CreateList() {
    return ComPtr<IKeyedList>(new ComKeyedList(NewList())).As<IUnknown>();
}

}  // namespace

std::span<const Class> Classes() {
    static const Class classes[] = {
        {ComUtils::ClassId(), L"Utils", Create<ComUtils>},
        {ComDatabases::ClassId(), L"Databases", Create<ComDatabases>},
        {ComDatabase::ClassId(), L"Database", Create<ComDatabase>},
        {ComTableDifferences::ClassId(), L"TableDifferences", Create<ComTableDifferences>},
        {ComComparisonTemplates::ClassId(), L"ComparisonTemplates", Create<ComComparisonTemplates>},
        {ComEventSink::ClassId(), L"EventSink", Create<ComEventSink>},
        {ComKeyedList::ClassId(), L"KeyedList", CreateList},
    };
    return classes;
}

}  // namespace QuillonLib::Automation
