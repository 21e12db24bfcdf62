#include "Utils.h"

#include "catalog/Discovery.h"
#include "compare/Comparison.h"
#include "core/Error.h"
#include "scripts/TableScripts.h"
#include "scripts/UpdateScripts.h"
#include "util/ComputerName.h"
#include "util/Cryptography.h"
#include "util/EventLog.h"
#include "util/StatementSplitter.h"
#include "util/SystemErrorText.h"
#include "util/TextEncryption.h"

namespace QuillonLib {

namespace {

template <typename T>
T& Given(const std::shared_ptr<T>& object) {
    if (object == nullptr) throw Error(ErrorNumber::ObjectNotSet, u"Object variable not set");
    return *object;
}

}  // namespace

std::shared_ptr<TableDifferences> Utils::CompareContents(const std::shared_ptr<Database>& obDB1,
                                                         const std::shared_ptr<Database>& obDB2,
                                                         const std::shared_ptr<Database>& obDB3,
                                                         const TextArray& sTables,
                                                         const IndexChoices& obIndexCollection,
                                                         const ColumnChoices& obColumnCollection) {
    lastError_.clear();
    const ComparisonRequest request{Given(obDB1),
                                    Given(obDB2),
                                    Given(obDB3),
                                    sTables,
                                    obIndexCollection,
                                    obColumnCollection,
                                    suppressCompareProcessErrors_};
    const ComparisonSurroundings surroundings{Events(eventSink_), GetLocalComputerName,
                                              WriteErrorToEventLog};
    return QuillonLib::CompareContents(request, surroundings, lastError_);
}

std::shared_ptr<TableDifferences> Utils::CompareContentsEx(const std::shared_ptr<Database>& obDB1,
                                                           const std::shared_ptr<Database>& obDB2,
                                                           const std::shared_ptr<Database>& obDB3,
                                                           const TextArray& sTables,
                                                           const IndexDictionary& obIndexes,
                                                           const ColumnDictionary& obColumns) {
    return CompareContents(obDB1, obDB2, obDB3, sTables, ToKeyedList(obIndexes),
                           ToKeyedList(obColumns));
}

void Utils::GetRecordsets(const std::shared_ptr<Database>& obDB1,
                          const std::shared_ptr<Database>& obDB2,
                          const std::shared_ptr<Database>& obDB3,
                          const std::shared_ptr<TableDifference>& obTableDifference,
                          std::shared_ptr<Recordset>& rsEqual,
                          std::shared_ptr<Recordset>& rsDifferent,
                          std::shared_ptr<Recordset>& rsRight, std::shared_ptr<Recordset>& rsLeft,
                          std::u16string& sRight, std::u16string& sLeft, enShowOptions enOptions,
                          std::int32_t lRecords) {
    QuillonLib::GetRecordsets(Given(obDB1), Given(obDB2), Given(obDB3), Given(obTableDifference),
                              rsEqual, rsDifferent, rsRight, rsLeft, sRight, sLeft, enOptions,
                              lRecords);
}

void Utils::GetUpdateScripts(const std::shared_ptr<Database>& obDB1,
                             const std::shared_ptr<Database>& obDB2,
                             const std::shared_ptr<Database>& obDB3,
                             const std::shared_ptr<TableDifferences>& obTableDifferences,
                             std::u16string& sLeft, std::u16string& sRight, enShowOptions enOptions,
                             std::int32_t lRecords) {
    QuillonLib::GetUpdateScripts(Given(obDB1), Given(obDB2), Given(obDB3),
                                 Given(obTableDifferences), sLeft, sRight, enOptions, lRecords,
                                 Events(eventSink_));
}

std::optional<TextArray> Utils::AvailableServers() const {
    return ListAvailableServers({});
}

std::optional<TextArray> Utils::AvailableDatabases(std::u16string_view sServer,
                                                   std::u16string_view sUser,
                                                   std::u16string_view sPassword) {
    lastError_.clear();
    try {
        return ListAvailableDatabases(sServer, sUser, sPassword);
    } catch (const Error& error) {
        lastError_ = error.Description();
        throw;
    }
}

TextArray Utils::GetSQLStatementsFromScript(std::u16string_view sScript) const {
    return QuillonLib::GetSQLStatementsFromScript(sScript);
}

EncryptedText Utils::EncryptText(std::u16string_view sText, std::u16string_view sPassword) const {
    return QuillonLib::EncryptText(sText, sPassword, *PlatformCryptography(), *PlatformMessages());
}

std::u16string Utils::DecryptText(const EncryptedText& vBytes,
                                  std::u16string_view sPassword) const {
    return QuillonLib::DecryptText(vBytes, sPassword, *PlatformCryptography(), *PlatformMessages());
}

std::u16string Utils::DecryptText(std::u16string_view vBytes, std::u16string_view sPassword) const {
    return DecryptText(BytesOfText(vBytes), sPassword);
}

}  // namespace QuillonLib
