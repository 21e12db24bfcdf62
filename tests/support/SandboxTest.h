// What the tests against the sandbox share: a server for the whole program, databases made anew for
// each test, and Database objects that lead to them.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QuillonLib.h"
#include "sandbox/Sandbox.h"
#include "tests/support/Raised.h"

namespace QuillonLib {

class SandboxTest : public ::testing::Test {
  protected:
    SandboxTest() : server(box.AddServer()) {}

    std::shared_ptr<Database> MakeDatabase(std::u16string name) {
        return MakeDatabase(server, std::move(name));
    }
    static std::shared_ptr<Database> MakeDatabase(sandbox::Server& on, std::u16string name) {
        auto database = std::make_shared<Database>();
        database->Server(on.Address());
        database->DatabaseName(name);
        database->Username(u"sa");
        database->Password(u"sandbox");
        database->Description(u"the " + name);
        return database;
    }

    // The batches that clients sent, in order, without logins.
    static std::vector<std::u16string> Batches(const sandbox::Server& on) {
        std::vector<std::u16string> batches;
        for (const sandbox::LogEntry& entry : on.Log()) {
            if (!entry.batch.empty()) batches.push_back(entry.batch);
        }
        return batches;
    }
    // Whether a batch that holds the text has arrived, within ten seconds.
    static bool Gets(const sandbox::Server& on, std::u16string_view text) {
        for (int tries = 0; tries < 1000; ++tries) {
            for (const std::u16string& batch : Batches(on)) {
                if (batch.find(text) != std::u16string::npos) return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    static int Logins(const sandbox::Server& on) {
        int logins = 0;
        for (const sandbox::LogEntry& entry : on.Log()) {
            if (entry.batch.empty()) ++logins;
        }
        return logins;
    }

    // How many connections stay open: the server notices a client's leaving a moment later.
    static int ConnectionsLeft(const sandbox::Server& on) {
        for (int tries = 0; tries < 200 && on.OpenConnections() > 0; ++tries) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return on.OpenConnections();
    }

    static sandbox::Fault ErrorIn(std::u16string contains, int nth = 1) {
        return {.contains = std::move(contains),
                .nth = nth,
                .message = {.number = 50000, .text = u"made to fail"}};
    }

    sandbox::Sandbox box;
    sandbox::Server& server;
};

}  // namespace QuillonLib
