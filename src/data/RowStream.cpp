#include "data/RowStream.h"

#include <optional>
#include <string>
#include <utility>

#include "data/Odbc.h"
#include "data/RowsetReader.h"

namespace QuillonLib {

class RowStream::Reading {
  public:
    Reading(std::u16string_view text, std::shared_ptr<Connection> on, Connection::Impl& impl)
        : connection(std::move(on)), sql(text), statement(impl) {}
    ~Reading() { statement.Unbind(); }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    std::shared_ptr<Connection> connection;
    std::u16string sql;  // the driver may read it as long as the statement lives
    std::optional<RowsetReader> reader;
    bool ended = false;
    odbc::Statement statement;  // goes before the buffers that are bound to it
};

RowStream::RowStream(std::u16string_view sql, std::shared_ptr<Connection> connection) {
    if (connection == nullptr) {
        throw Error(ErrorNumber::ObjectNotSet, u"Object variable or With block variable not set");
    }
    Connection::Impl& impl = *connection->impl_;
    reading_ = std::make_unique<Reading>(sql, std::move(connection), impl);
    odbc::Statement& statement = reading_->statement;
    if (!statement.FindRowSet(reading_->sql)) {
        statement.Finish();
        throw Error(ErrorNumber::DataAccess, u"The query returned no rows to read.");
    }
    reading_->reader.emplace(statement);
}

RowStream::~RowStream() = default;

const std::vector<FieldInfo>& RowStream::Fields() const noexcept {
    return reading_->reader->Fields();
}

std::shared_ptr<const RowBlock> RowStream::Next() {
    if (reading_->ended) return nullptr;
    RowMemory memory;  // of its own: a block takes its memory along when it goes
    if (std::optional<RowBlock> block = reading_->reader->ReadBlock(memory)) {
        if (!reading_->statement.Failed()) {
            return std::make_shared<const RowBlock>(std::move(*block));
        }
    }
    reading_->ended = true;
    reading_->statement.Unbind();
    reading_->statement.Finish();
    return nullptr;
}

}  // namespace QuillonLib
