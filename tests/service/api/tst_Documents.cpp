// Valid names, and records as JSON.
#include "service/api/Documents.h"
#include "service/api/Gzip.h"
#include "service/http/Problem.h"

#include <gtest/gtest.h>

namespace kelvo::api {
namespace {

TEST(FileNames, MustBeSafeOnAnyConsole)
{
    const std::string nul("a\0b", 3);
    EXPECT_TRUE(isFileName("field 1 (north) é.zip"));
    EXPECT_TRUE(isFileName("..."));
    EXPECT_TRUE(isFileName(std::string(255, 'a')));
    for (const std::string& wrong :
         {std::string(), std::string("."), std::string(".."), std::string("a/b"), nul,
          std::string("a\nb"), std::string("a\x7F"), std::string("\xFF"), std::string(256, 'a')}) {
        EXPECT_FALSE(isFileName(wrong)) << wrong;
    }
}

TEST(Names, HaveUpTo64Characters)
{
    const auto require = [](const std::string& name) {
        return requireName(nlohmann::json{{"name", name}}, "name");
    };
    std::string accented;
    for (int i = 0; i < 64; ++i) {
        accented += "é";
    }
    EXPECT_EQ(require(accented), accented) << "the limit is in characters, not bytes";
    EXPECT_THROW(require(accented + "x"), http::Problem);
    EXPECT_THROW(require(""), http::Problem);
    EXPECT_THROW(require("a\tb"), http::Problem);
    EXPECT_THROW(requireName(nlohmann::json{{"name", 7}}, "name"), http::Problem);
    EXPECT_THROW(requireName(nlohmann::json::object(), "name"), http::Problem);
}

TEST(Names, HaveNeitherBlanksAtTheirEndsNorHiddenCharacters)
{
    const auto nameOf = [](const std::string& name) {
        return requireName(nlohmann::json{{"name", name}}, "name");
    };
    EXPECT_EQ(nameOf(" Hill Farm\xC2\xA0"), "Hill Farm");
    for (const char* wrong : {" ", "a\xC2\x85",
                              "\xE2\x80\xAE"
                              "agl"}) {
        EXPECT_THROW(nameOf(wrong), http::Problem) << wrong;
        EXPECT_TRUE(wrong[0] == ' ' || !isFileName(wrong)) << wrong;
    }
}

TEST(Documents, HaveTheMembersOfAFileInOrder)
{
    EXPECT_EQ(toJson(store::File{55, 10, "a.zip", 3, "aa", 0}).dump(),
              R"({"id":55,"kind":"file","name":"a.zip","container":10,"size":3,"sha256":"aa",)"
              R"("created_at":"1970-01-01T00:00:00.000Z","etag":"\"aa\""})");
    const nlohmann::json noted = toJson(store::File{55, 10, "a.zip", 3, "aa", 0, 7, "anna", "n"});
    EXPECT_EQ(noted["sent_by"].dump(), R"({"id":7,"name":"anna"})");
    EXPECT_EQ(noted["note"], "n");
}

TEST(Documents, OfFilesHaveTheSameTextAsTheirRecords)
{
    for (const char* name :
         {"a.zip", "a \"b\" \\ c/~.zip", "Süd é.zip", "\xFF.zip", "a\tb\x7F", ""}) {
        const store::File file{9007199254740993, -1, name, 1LL << 40, "aa",
                               1790000000001,    7,  name, name};
        std::string text = "before";
        appendJson(text, file);
        EXPECT_EQ(text, "before" + dump(toJson(file)));
    }
}

TEST(Documents, GiveAnAdministratorNoFarm)
{
    store::User admin;
    admin.id = 1;
    admin.name = "admin";
    admin.role = store::ERole::Admin;
    EXPECT_EQ(toJson(admin).dump(),
              R"({"id":1,"name":"admin","role":"admin","disabled":false,"farm":null})");
}

TEST(Compression, MakesAGzipStream)
{
    std::string packed;
    Gzip gzip;
    gzip.add(std::string(50000, 'a'), false, packed);
    gzip.add(std::string(50000, 'a'), true, packed);
    EXPECT_LT(packed.size(), 1000U);
    EXPECT_EQ(packed.substr(0, 2), "\x1F\x8B");
}

} // namespace
} // namespace kelvo::api
