#include "automation/ComUtils.h"

#include <memory>
#include <optional>
#include <string>

#include "automation/Arrays.h"
#include "automation/Choices.h"
#include "automation/ComRecordset.h"
#include "automation/Enumerations.h"
#include "automation/Outputs.h"

namespace QuillonLib::Automation {

namespace {

// A row set or text that an operation sets by reference. What the operation put there goes back to
// the caller, also after a failure; what it left alone stays the caller's own.
class RowsOut {
  public:
    // An object of another kind in its place is refused.
    explicit RowsOut(IRecordset** target)
        : rows(std::make_shared<Recordset>()), target_(target), unset_(rows) {
        ComRecordset::CoreOf(Target(target));
    }
    void HandBack() {
        if (rows == unset_) return;
        Replace(target_, ComRecordset::Of(rows));
        Outputs::NoteSet(target_);
    }

    std::shared_ptr<Recordset> rows;

  private:
    IRecordset** target_;
    // None that an operation gives: where there was nothing before, it may set just that.
    std::shared_ptr<Recordset> unset_;
};

class TextOut {
  public:
    explicit TextOut(BSTR* target) : text(TextOf(Target(target))), target_(target) {}
    void HandBack() {
        if (text != ViewOf(*target_)) Replace(target_, text);
    }

    std::u16string text;

  private:
    BSTR* target_;
};

template <class Work, class... Outs>
void WithOutputs(Work&& work, Outs&... outs) {
    try {
        work();
    } catch (...) {
        (outs.HandBack(), ...);
        throw;
    }
    (outs.HandBack(), ...);
}

Variant ArrayOrNull(const std::optional<TextArray>& texts) {
    return texts ? ToVariant(*texts) : Variant::Null();
}

std::u16string_view OptionalText(const BSTR* text) {
    return text == nullptr ? std::u16string_view() : ViewOf(*text);
}

}  // namespace

STDMETHODIMP ComUtils::get_LastError(BSTR* value) {
    return Answer(value, [&] { return core_->LastError(); });
}

STDMETHODIMP ComUtils::putref_EventSink(IEventSink* obEventSink) {
    return Do([&] {
        core_->EventSink(ComEventSink::CoreOf(obEventSink));
        eventSink_ = obEventSink;
    });
}

STDMETHODIMP ComUtils::get_SuppressCompareProcessErrors(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->SuppressCompareProcessErrors(); });
}

STDMETHODIMP ComUtils::put_SuppressCompareProcessErrors(VARIANT_BOOL bValue) {
    return Do([&] { core_->SuppressCompareProcessErrors(bValue != VARIANT_FALSE); });
}

STDMETHODIMP ComUtils::CompareContents(IDatabase* obDB1, IDatabase* obDB2, IDatabase* obDB3,
                                       SAFEARRAY** sTables, IDispatch* obIndexCollection,
                                       IDispatch* obColumnCollection, ITableDifferences** value) {
    return Answer(value, [&] {
        const auto database1 = ComDatabase::CoreOf(obDB1);
        const auto database2 = ComDatabase::CoreOf(obDB2);
        const auto database3 = ComDatabase::CoreOf(obDB3);
        const TextArray tables = ToTextArray(Target(sTables));
        const auto indexes = ReadIndexChoices(obIndexCollection, tables);
        const auto columns = ReadColumnChoices(obColumnCollection, tables);
        return ComTableDifferences::Of(
            core_->CompareContents(database1, database2, database3, tables, indexes, columns));
    });
}

STDMETHODIMP ComUtils::CompareContentsEx(IDatabase* obDB1, IDatabase* obDB2, IDatabase* obDB3,
                                         SAFEARRAY** sTables, IDispatch* obIndexes,
                                         IDispatch* obColumns, ITableDifferences** value) {
    return Answer(value, [&] {
        const auto database1 = ComDatabase::CoreOf(obDB1);
        const auto database2 = ComDatabase::CoreOf(obDB2);
        const auto database3 = ComDatabase::CoreOf(obDB3);
        const TextArray tables = ToTextArray(Target(sTables));
        const auto indexes = ReadIndexDictionary(obIndexes);
        const auto columns = ReadColumnDictionary(obColumns);
        return ComTableDifferences::Of(
            core_->CompareContentsEx(database1, database2, database3, tables, indexes, columns));
    });
}

STDMETHODIMP ComUtils::GetRecordsets(IDatabase* obDB1, IDatabase* obDB2, IDatabase* obDB3,
                                     ITableDifference* obTableDifference, IRecordset** rsEqual,
                                     IRecordset** rsDifferent, IRecordset** rsRight,
                                     IRecordset** rsLeft, BSTR* sRight, BSTR* sLeft,
                                     ::enShowOptions enOptions, LONG lRecords) {
    return Do([&] {
        RowsOut equal(rsEqual);
        RowsOut different(rsDifferent);
        RowsOut right(rsRight);
        RowsOut left(rsLeft);
        TextOut rightScript(sRight);
        TextOut leftScript(sLeft);
        WithOutputs(
            [&] {
                core_->GetRecordsets(ComDatabase::CoreOf(obDB1), ComDatabase::CoreOf(obDB2),
                                     ComDatabase::CoreOf(obDB3),
                                     ComTableDifference::CoreOf(obTableDifference), equal.rows,
                                     different.rows, right.rows, left.rows, rightScript.text,
                                     leftScript.text, ToOptions(enOptions), lRecords);
            },
            equal, different, right, left, rightScript, leftScript);
    });
}

STDMETHODIMP ComUtils::GetUpdateScripts(IDatabase* obDB1, IDatabase* obDB2, IDatabase* obDB3,
                                        ITableDifferences* obTableDifferences, BSTR* sLeft,
                                        BSTR* sRight, ::enShowOptions enOptions, LONG lRecords) {
    return Do([&] {
        TextOut left(sLeft);
        TextOut right(sRight);
        WithOutputs(
            [&] {
                core_->GetUpdateScripts(ComDatabase::CoreOf(obDB1), ComDatabase::CoreOf(obDB2),
                                        ComDatabase::CoreOf(obDB3),
                                        ComTableDifferences::CoreOf(obTableDifferences), left.text,
                                        right.text, ToOptions(enOptions), lRecords);
            },
            left, right);
    });
}

STDMETHODIMP ComUtils::get_AvailableServers(VARIANT* value) {
    return Answer(value, [&] { return ArrayOrNull(core_->AvailableServers()); });
}

STDMETHODIMP ComUtils::get_AvailableDatabases(BSTR sServer, BSTR* sUser, BSTR* sPassword,
                                              VARIANT* value) {
    return Answer(value, [&] {
        return ArrayOrNull(core_->AvailableDatabases(ViewOf(sServer), OptionalText(sUser),
                                                     OptionalText(sPassword)));
    });
}

STDMETHODIMP ComUtils::GetSQLStatementsFromScript(BSTR sScript, VARIANT* value) {
    return Answer(value,
                  [&] { return ToVariant(core_->GetSQLStatementsFromScript(ViewOf(sScript))); });
}

STDMETHODIMP ComUtils::EncryptText(BSTR sText, BSTR sPassword, VARIANT* value) {
    return Answer(value,
                  [&] { return ToVariant(core_->EncryptText(ViewOf(sText), ViewOf(sPassword))); });
}

STDMETHODIMP ComUtils::DecryptText(VARIANT vBytes, BSTR sPassword, BSTR* value) {
    return Answer(value, [&] {
        const Variant bytes = PlainValue(vBytes);
        return bytes.Type() == VT_BSTR
                   ? core_->DecryptText(ViewOf(bytes.Get().bstrVal), ViewOf(sPassword))
                   : core_->DecryptText(ToBytes(ArrayIn(bytes.Get())), ViewOf(sPassword));
    });
}

}  // namespace QuillonLib::Automation
