#include "compare/ConnectionErrors.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/support/SandboxTest.h"

namespace QuillonLib {
namespace {

class ConnectionErrorsTest : public SandboxTest {
  protected:
    ConnectionErrorsTest() {
        for (auto& connection : connections) {
            connection = std::make_shared<Connection>();
            connection->Open(u"driver={SQL Server};server=" + server.Address() +
                             u";uid=sa;pwd=sandbox");
        }
    }
    void Fail(std::size_t connection, const std::u16string& sql) {
        EXPECT_THROW(connections[connection]->Execute(sql), Error);
    }

    std::array<std::shared_ptr<Connection>, 3> connections;
};

TEST_F(ConnectionErrorsTest, AreToldConnectionAfterConnectionOneToALine) {
    Fail(2, u"RAISERROR('of the third', 16, 1)");
    connections[0]->Close();
    EXPECT_THROW(connections[0]->Open(u"driver={SQL Server};server=" + server.Address() +
                                      u";uid=nobody;pwd=sandbox"),
                 Error);
    Fail(1, u"RAISERROR('of the second', 16, 1)");
    EXPECT_EQ(GetConnectionErrors(connections),
              u"\r\n[FreeTDS][SQL Server]Login failed for user 'nobody'."
              u"\r\n[FreeTDS][SQL Server]Unable to connect to data source"
              u"\r\n[FreeTDS][SQL Server]of the second"
              u"\r\n[FreeTDS][SQL Server]of the third");
}

TEST_F(ConnectionErrorsTest, AreNoneWithoutAFailureOrAConnection) {
    EXPECT_EQ(GetConnectionErrors(connections), u"");
    Fail(2, u"RAISERROR('of the third', 16, 1)");
    connections[0] = nullptr;
    connections[1] = nullptr;
    EXPECT_EQ(GetConnectionErrors(connections), u"\r\n[FreeTDS][SQL Server]of the third");
}

}  // namespace
}  // namespace QuillonLib
