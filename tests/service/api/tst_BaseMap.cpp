// The base map of the office's page.
#include "service/api/BaseMap.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace kelvo::api {
namespace {

constexpr char png = 2;

/** A file with the type of its tiles and its zooms. */
std::string mapOf(char tileType, char minZoom = 3, char maxZoom = 15)
{
    std::string content = "PMTiles\3";
    content.resize(99);
    return content + tileType + minZoom + maxZoom;
}

class BaseMapFile : public testing::Test
{
protected:
    std::filesystem::path write(std::string content)
    {
        content.resize(content.empty() ? 0 : 200);
        replaceFile(folder.Path() / "farm.pmtiles", content, 0600);
        return folder.Path() / "farm.pmtiles";
    }

    test::TempFolder folder;
};

TEST_F(BaseMapFile, IsOpenedWithItsSizeAndZooms)
{
    const BaseMap map = openBaseMap({write(mapOf(png)), {}, 19, "© Farm"});
    EXPECT_TRUE(map.file);
    EXPECT_EQ(map.content.sizeBytes, 200U);
    EXPECT_EQ(map.minZoom, 3);
    EXPECT_EQ(map.maxZoom, 15);
    EXPECT_EQ(map.attribution, "© Farm");
    EXPECT_EQ(originOf(map), "");
}

TEST_F(BaseMapFile, IsRefusedIfItHasAnotherFormat)
{
    for (const std::string& other :
         {std::string(), std::string("PMTiles"), std::string("PMTiles\2 tiles"), mapOf(png, 9, 8),
          mapOf(png, 0, 31), mapOf(png, -1, 8)}) {
        EXPECT_THROW(openBaseMap({write(other), {}, 19, {}}), std::runtime_error) << other;
    }
    EXPECT_THROW(openBaseMap({folder.Path() / "missing", {}, 19, {}}), std::runtime_error);
    EXPECT_THROW(openBaseMap({folder.Path(), {}, 19, {}}), std::runtime_error);
}

TEST_F(BaseMapFile, IsRefusedIfItsTilesAreNoImages)
{
    constexpr char unknown = 0;
    constexpr char mvt = 1;
    constexpr char avif = 5;
    constexpr char mlt = 6;
    for (const char tileType : {unknown, mvt, mlt}) {
        EXPECT_THROW(openBaseMap({write(mapOf(tileType)), {}, 19, {}}), std::runtime_error)
            << int{tileType};
    }
    EXPECT_TRUE(openBaseMap({write(mapOf(avif)), {}, 19, {}}).file);
}

TEST(BaseMapTiles, NameTheOriginOfTheirServer)
{
    const std::string address = "https://tiles.example.org:8443/{z}/{x}/{y}.png?key=a b;c";
    EXPECT_EQ(originOf(openBaseMap({{}, address, 19, {}})), "https://tiles.example.org:8443");
    EXPECT_EQ(originOf(openBaseMap({})), "");
}

TEST(BaseMapTiles, HaveALargestZoom)
{
    EXPECT_EQ(openBaseMap({{}, "https://tiles.example.org/{z}/{x}/{y}.png", 17, {}}).maxZoom, 17);
    EXPECT_EQ(openBaseMap({{}, {}, 17, {}}).maxZoom, 0);
}

TEST(BaseMapTiles, AreRefusedIfTheAddressIsNotSafe)
{
    for (const char* wrong : {"http://tiles.example.org/{z}/{x}/{y}", "https:///{z}/{x}/{y}",
                              "https://{s}.example.org/{z}/{x}/{y}", "https://a b/{z}/{x}/{y}",
                              "https://a;script-src/{z}/{x}/{y}", "https://a@b/{z}/{x}/{y}",
                              "https://tiles.example.org/{z}/{x}", "/{z}/{x}/{y}"}) {
        EXPECT_THROW(openBaseMap({{}, wrong, 19, {}}), std::runtime_error) << wrong;
    }
}

} // namespace
} // namespace kelvo::api
