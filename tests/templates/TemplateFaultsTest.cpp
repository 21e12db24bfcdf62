// Persist under a system that fails: the file is the old one or the new one, whole.
#include <gtest/gtest.h>

#ifndef _WIN32
#include <sys/stat.h>
#endif

#include <cstdlib>
#include <new>
#include <pugixml.hpp>

#include "TemplateFiles.h"
#include "tests/support/FailingFiles.h"

namespace {

// Counts down to the allocation that fails; below zero none does.
thread_local long allocationsLeft = -1;

bool AllocationFails() {
    if (allocationsLeft < 0) return false;
    if (allocationsLeft == 0) return true;
    --allocationsLeft;
    return false;
}

void* XmlAllocate(std::size_t size) {
    return AllocationFails() ? nullptr : std::malloc(size);
}

}  // namespace

// Not inlined: seen together, malloc and delete look like a mistake to the compiler.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (AllocationFails()) throw std::bad_alloc();
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace QuillonLib {
namespace {

class TemplateFaultsTest : public TemplateFiles {
  protected:
    static void Change(ComparisonTemplates& store) {
        store.LoadTemplate(u"T");
        store.Add(tmpTable, u"[dbo].[new]");
        store.Add(tmpColumn, u"[dbo].[new]", u"a column of a name that is not short");
        store.Add(tmpIndex, u"[dbo].[new]", u"an index of a name that is not short");
    }
    std::size_t FilesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(folder), {}));
    }
    const std::string oldFile = "<templates><lasttemplate name=\"\"/></templates>";
};

TEST_F(TemplateFaultsTest, TheNthWriteFails) {
    int failures = 0;
    for (int n = 0;; ++n) {
        Write(oldFile);
        test::FailingFiles files;
        ComparisonTemplates store(files);
        store.Load(Path());
        Change(store);
        files.callsLeft = n;
        const std::int32_t number = NumberOf([&] { store.Persist(); });
        EXPECT_EQ(FilesInFolder(), 1U) << "after call " << n;
        if (number == 0) break;
        ++failures;
        EXPECT_EQ(number, 75);
        EXPECT_EQ(Read(), oldFile) << "after call " << n;
        EXPECT_TRUE(store.Dirty());
        EXPECT_TRUE(store.Persist());  // the disk has room again
        EXPECT_NE(Read().find("[dbo].[new]"), std::string::npos);
    }
    EXPECT_EQ(failures, 5);  // create, write, sync, close, rename
}

TEST_F(TemplateFaultsTest, AFullDiskIsNamed) {
    Write(oldFile);
    test::FailingFiles files;
    ComparisonTemplates store(files);
    store.Load(Path());
    Change(store);
    files.callsLeft = 1;
    try {
        store.Persist();
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.Description(),
                  u"Cannot write the file '" + Path() + u"': No space left on device");
    }
}

TEST_F(TemplateFaultsTest, TheNthAllocationFails) {
    pugi::set_memory_management_functions(XmlAllocate, std::free);
    const std::string path = file.string();
    long failures = 0;
    for (long n = 0;; ++n) {
        {
            std::ofstream stream(file, std::ios::binary);
            stream << oldFile;
        }
        ComparisonTemplates store;
        store.Load(Path());
        Change(store);
        allocationsLeft = n;
        bool failed = false;
        try {
            store.Persist();
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        allocationsLeft = -1;
        const std::string now = Read();
        if (!failed) {
            EXPECT_NE(now.find("[dbo].[new]"), std::string::npos);
            break;
        }
        ++failures;
        const bool whole = now == oldFile || now.ends_with("</templates>");
        EXPECT_TRUE(whole) << "after allocation " << n << ": " << now;
        EXPECT_EQ(FilesInFolder(), 1U) << "after allocation " << n;
    }
    EXPECT_GT(failures, 20);
    pugi::set_memory_management_functions(std::malloc, std::free);
}

TEST_F(TemplateFaultsTest, AMissingFolderIsError75) {
    ComparisonTemplates store;
    store.Load((folder / "nowhere" / "Templates.xml").u16string());
    Change(store);
    EXPECT_EQ(NumberOf([&] { store.Persist(); }), 75);
}

#ifndef _WIN32
// As a user who may do everything, it would be replaced by a file.
TEST_F(TemplateFaultsTest, APipeIsError75AndStays) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    const std::filesystem::path link = folder / "link.xml";
    std::filesystem::create_symlink(file, link);
    for (const auto& path : {file, link}) {
        ComparisonTemplates store;
        EXPECT_FALSE(store.Load(path.u16string()));
        ExpectError(75, u"Cannot write the file '" + path.u16string() + u"': it is no regular file",
                    [&] { store.NewTemplate(u"T"); });
    }
    EXPECT_TRUE(std::filesystem::is_fifo(file));
    EXPECT_TRUE(std::filesystem::is_symlink(link));
}
#endif

TEST_F(TemplateFaultsTest, AReadOnlyFileIsError75AndStays) {
    Write(oldFile);
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    ComparisonTemplates store;
    store.Load(Path());
    Change(store);
    EXPECT_EQ(NumberOf([&] { store.Persist(); }), 75);
    EXPECT_EQ(Read(), oldFile);
}

#ifndef _WIN32
TEST_F(TemplateFaultsTest, PermissionsAndLinksStay) {
    Write(oldFile);
    using std::filesystem::perms;
    std::filesystem::permissions(file, perms::owner_read | perms::owner_write);
    const std::filesystem::path link = folder / "link.xml";
    std::filesystem::create_symlink(file, link);
    ComparisonTemplates store;
    store.Load(link.u16string());
    Change(store);
    EXPECT_TRUE(store.Persist());
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_NE(Read().find("[dbo].[new]"), std::string::npos);
    EXPECT_EQ(std::filesystem::status(file).permissions(), perms::owner_read | perms::owner_write);
}
#endif

}  // namespace
}  // namespace QuillonLib
