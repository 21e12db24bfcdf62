#include "direct/BatchWriter.h"

#include "core/Text.h"

namespace QuillonLib {

namespace {

// What tells that a transaction is the script's own.
constexpr std::u16string_view MarkBegin = u"0x51756C6E";

constexpr std::size_t BatchSize = std::size_t{64} << 10;  // characters, about

// For a comment: no line break, no variable of a client, no half of a surrogate pair.
std::u16string OneLine(std::u16string_view text) {
    std::u16string line;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        const bool pair = unit >= 0xD800 && unit < 0xDC00 && i + 1 < text.size() &&
                          text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
        if (pair) {
            line.append(text.substr(i++, 2));
        } else if (unit < 0x20 || unit == 0x7F || unit == 0x85 || unit == 0x2028 ||
                   unit == 0x2029) {
            line.push_back(u' ');
        } else {
            line.push_back(unit >= 0xD800 && unit < 0xE000 ? u'\uFFFD' : unit);
        }
        if (unit == u'$') line.push_back(u' ');
    }
    return line;
}

}  // namespace

std::u16string BatchWriter::Mark() const {
    static constexpr std::u16string_view Digits = u"0123456789ABCDEF";
    std::u16string mark(MarkBegin);
    for (int shift = 28; shift >= 0; shift -= 4)
        mark.push_back(Digits[(batch_ >> shift) & 0xF]);
    return mark;
}

// More than one is not the script's: a trigger has left one open, and COMMIT would end that.
std::u16string BatchWriter::Test(bool passes) const {
    const std::u16string found = u"ISNULL(CAST(CONTEXT_INFO() AS varbinary(8)), 0x)";
    return passes ? u"@@TRANCOUNT = 1 AND " + found + u" = " + Mark()
                  : u"@@TRANCOUNT = 0 OR " + found + u" <> " + Mark();
}

void BatchWriter::Line(std::u16string_view text) {
    out_(text);
    out_(CrLf);
}

void BatchWriter::Begin(const std::vector<std::u16string>& comments) {
    for (const std::u16string& comment : comments)
        Line(OneLine(u"-- " + comment));
    Line(
        u"SET ANSI_NULLS, ANSI_PADDING, ANSI_WARNINGS, ARITHABORT, CONCAT_NULL_YIELDS_NULL, "
        u"QUOTED_IDENTIFIER ON");
    Line(u"SET NUMERIC_ROUNDABORT OFF");
    Line(u"SET IMPLICIT_TRANSACTIONS OFF");
    Line(u"SET ROWCOUNT 0");
    Line(u"SET NOCOUNT, XACT_ABORT ON");
    // COMMIT would end no more than the inner one
    Line(u"IF @@TRANCOUNT > 0");
    Line(u"BEGIN");
    Line(
        u"    RAISERROR(N'A transaction is open already: the script has to begin its own.', 16, "
        u"1)");
    Line(u"    SET CONTEXT_INFO 0x00");
    Line(u"    RETURN");
    Line(u"END");
    // Read in another code page than it was written in, each text of the script would be another.
    Line(u"IF LEN(N'\u00e9') <> 1 OR UNICODE(N'\u00e9') <> 233");
    Line(u"BEGIN");
    Line(
        u"    RAISERROR(N'The client has read the script in another code page: it is UTF-8 or "
        u"UTF-16.', 16, 1)");
    Line(u"    SET CONTEXT_INFO 0x00");
    Line(u"    RETURN");
    Line(u"END");
    Line(u"BEGIN TRANSACTION");
    Line(u"SET CONTEXT_INFO " + Mark());
    Line(u"GO");
}

void BatchWriter::Add(std::u16string_view statements) {
    if (!open_) {
        Line(u"IF " + Test(false) + u" RETURN");
        open_ = true;
        written_ = 0;
    }
    Line(statements);
    written_ += statements.size();
    if (written_ >= BatchSize) CloseBatch();
}

void BatchWriter::AddAlone(std::u16string_view statement) {
    CloseBatch();
    Add(statement);
    CloseBatch();
}

void BatchWriter::CloseBatch() {
    if (!open_) return;
    ++batch_;
    Line(u"SET CONTEXT_INFO " + Mark());
    Line(u"GO");
    open_ = false;
}

void BatchWriter::End(const std::vector<std::u16string>& cleanUp) {
    CloseBatch();
    Line(u"DECLARE @outcome nvarchar(200)");
    Line(u"IF " + Test(true));
    Line(u"BEGIN");
    Line(u"    COMMIT TRANSACTION");
    Line(u"    SET @outcome = N'The script ran to its end: its changes are committed.'");
    Line(u"END");
    Line(u"ELSE");
    Line(u"BEGIN");
    Line(u"    IF @@TRANCOUNT > 0 AND ISNULL(CAST(CONTEXT_INFO() AS varbinary(4)), 0x) = " +
         std::u16string(MarkBegin));
    Line(u"        ROLLBACK TRANSACTION");
    Line(u"    SET @outcome = N'The script did not run to its end: nothing has been changed.'");
    Line(u"END");
    Line(u"SET CONTEXT_INFO 0x00");
    Line(u"PRINT @outcome");
    for (const std::u16string& statement : cleanUp)
        Line(statement);
    Line(u"GO");  // not every client sends what stands behind the last one
}

}  // namespace QuillonLib
