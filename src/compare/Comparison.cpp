#include "compare/Comparison.h"

#include <array>
#include <utility>

#include "catalog/Database.h"
#include "catalog/Login.h"
#include "compare/ConnectionErrors.h"
#include "compare/TableComparison.h"
#include "core/Error.h"
#include "core/Text.h"
#include "data/Connection.h"

namespace QuillonLib {

namespace {

using Connections = std::array<std::shared_ptr<Connection>, 3>;

class ComparisonRun {
  public:
    ComparisonRun(const ComparisonRequest& request, const ComparisonSurroundings& surroundings)
        : request_(request), surroundings_(surroundings) {}

    std::shared_ptr<TableDifferences> Run() {
        NameLocalServers();
        TableComparison::Side side1 = ConnectSide(request_.obDB1, connections_[0]);
        TableComparison::Side side2 = ConnectSide(request_.obDB2, connections_[1]);
        ConnectServer3();
        context_.clear();

        auto results = std::make_shared<TableDifferences>();
        TableComparison comparison(side1, side2, request_.obDB3, connections_[2], request_.sTables,
                                   request_.obIndexCollection, request_.obColumnCollection,
                                   surroundings_.events);
        const bool cancelled = !CompareTables(comparison, *results);
        connections_[0]->Close();
        connections_[1]->Close();
        if (cancelled) return nullptr;
        connections_[2]->Close();
        return results;
    }

    // The text of a failure of Run: what was being done, and all that is known of the cause.
    std::u16string Describe(const Error& error) const {
        // Statements have no location numbers here, so the last piece is always 0.
        return u"Error comparing databases " + request_.obDB1.DatabaseName() + u" And " +
               request_.obDB2.DatabaseName() + u"\r\n" + context_ + u"\r\n" + error.Description() +
               GetConnectionErrors(connections_) + u" (0)";
    }

  private:
    void NameLocalServers() const {
        for (Database* database : {&request_.obDB1, &request_.obDB2, &request_.obDB3}) {
            if (database->Server() == u"." || ToLower(database->Server()) == u"(local)") {
                database->Server(surroundings_.localComputerName());
            }
        }
    }

    void AnnounceConnecting(const Database& database) {
        bool answerIsNotLookedAt = false;
        surroundings_.events.RaiseStatus(u"Connecting to " + database.Description(), 0,
                                         answerIsNotLookedAt);
        context_ = u"Error connecting to server " + database.Server();
    }

    // The connection of a side counts as one of the comparison's from the moment at which it is
    // logged in and its database is known: what fails before is told once, by the Error itself.
    TableComparison::Side ConnectSide(Database& database, std::shared_ptr<Connection>& connection) {
        AnnounceConnecting(database);
        auto opened = std::make_shared<Connection>();
        OpenConnection(database, *opened);
        TableCatalog catalog(opened, database, request_.sTables);
        connection = opened;
        return {database, std::move(opened), std::move(catalog)};
    }

    void ConnectServer3() {
        AnnounceConnecting(request_.obDB3);
        connections_[2] = std::make_shared<Connection>();
        OpenConnection(request_.obDB3, *connections_[2]);
    }

    // False when a handler cancelled.
    bool CompareTables(TableComparison& comparison, TableDifferences& results) const {
        bool bCancel = false;
        for (std::int32_t index = request_.sTables.LowerBound;
             index <= request_.sTables.UpperBound() && !bCancel; ++index) {
            // What an earlier table met is not told again with this one's failure.
            for (const auto& connection : connections_)
                connection->ClearErrors();
            if (request_.SuppressCompareProcessErrors) {
                CompareAndReport(comparison, results, index, bCancel);
            } else {
                comparison.CompareTable(results, index, bCancel);
            }
        }
        return !bCancel;
    }

    void CompareAndReport(TableComparison& comparison, TableDifferences& results,
                          std::int32_t index, bool& bCancel) const {
        try {
            comparison.CompareTable(results, index, bCancel);
        } catch (const Error& error) {
            if (error.Number() == 0) return;
            surroundings_.events.RaiseProcessError(
                error.Number(), error.Description() + GetConnectionErrors(connections_), bCancel);
        }
    }

    const ComparisonRequest& request_;
    const ComparisonSurroundings& surroundings_;
    Connections connections_;
    std::u16string context_;
};

}  // namespace

std::shared_ptr<TableDifferences> CompareContents(const ComparisonRequest& request,
                                                  const ComparisonSurroundings& surroundings,
                                                  std::u16string& sLastError) {
    ComparisonRun run(request, surroundings);
    try {
        return run.Run();
    } catch (const Error& error) {
        sLastError = run.Describe(error);
        surroundings.writeErrorToEventLog(sLastError);
        throw Error(error.Number(), sLastError, error.Source());
    }
}

}  // namespace QuillonLib
