// An ODBC driver that connects to nothing: it writes down what it is told, and refuses. Which
// driver it is taken for is a matter of its file's name.
#include <sql.h>
#include <sqlext.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

namespace {

// What is told comes in UTF-16, and is ASCII.
std::string Narrow(const SQLWCHAR* text, SQLSMALLINT length) {
    std::string narrow;
    for (SQLSMALLINT i = 0; length == SQL_NTS ? text[i] != 0 : i < length; ++i)
        narrow += static_cast<char>(text[i]);
    return narrow;
}

void WriteDown(const std::string& line) {
    const char* const file = std::getenv("QUILLON_TEST_ECHO");
    if (file != nullptr) std::ofstream(file, std::ios::app) << line << '\n';
}

void Put(std::string_view text, SQLWCHAR* to) {
    for (const char unit : text)
        *to++ = static_cast<SQLWCHAR>(unit);
    *to = 0;
}

}  // namespace

extern "C" {

SQLRETURN SQL_API SQLAllocHandle(SQLSMALLINT /*type*/, SQLHANDLE /*parent*/, SQLHANDLE* handle) {
    *handle = new int(0);
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLFreeHandle(SQLSMALLINT /*type*/, SQLHANDLE handle) {
    delete static_cast<int*>(handle);
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLSetEnvAttr(SQLHENV /*environment*/, SQLINTEGER /*attribute*/,
                                SQLPOINTER /*value*/, SQLINTEGER /*length*/) {
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLSetConnectAttrW(SQLHDBC /*link*/, SQLINTEGER /*attribute*/,
                                     SQLPOINTER /*value*/, SQLINTEGER /*length*/) {
    return SQL_SUCCESS;
}

SQLRETURN SQL_API SQLDriverConnectW(SQLHDBC /*link*/, SQLHWND /*window*/, SQLWCHAR* text,
                                    SQLSMALLINT length, SQLWCHAR* /*out*/, SQLSMALLINT /*room*/,
                                    SQLSMALLINT* /*outLength*/, SQLUSMALLINT /*completion*/) {
    WriteDown(Narrow(text, length));
    return SQL_ERROR;
}

SQLRETURN SQL_API SQLGetDiagRecW(SQLSMALLINT /*type*/, SQLHANDLE /*handle*/, SQLSMALLINT record,
                                 SQLWCHAR* state, SQLINTEGER* native, SQLWCHAR* text,
                                 SQLSMALLINT /*room*/, SQLSMALLINT* length) {
    if (record != 1) return SQL_NO_DATA;
    constexpr std::string_view Refusal = "this driver connects to nothing";
    Put("08001", state);
    Put(Refusal, text);
    *native = 0;
    *length = static_cast<SQLSMALLINT>(Refusal.size());
    return SQL_SUCCESS;
}
}
