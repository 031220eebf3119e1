// Images from our mastering tool count only when readers we did not write
// (7-Zip, udfinfo, libudfread) read them back exactly as described.

#include <gtest/gtest.h>

#include "UdfTestSupport.h"

#if !defined(_WIN32) && __has_include(<udfread/udfread.h>) && __has_include(<dlfcn.h>)
#include <dlfcn.h>
#include <udfread/udfread.h>
#define VEXLON_HAVE_UDFREAD 1
#endif

namespace {

using namespace udfmaster;

// libudfread lists entries marked deleted, so its image leaves them out.
Node SampleTree(bool withDeleted = true) {
    Node big = File("big.bin", Pattern(70000, 7));
    Node multi;
    multi.name = "multi.bin";
    multi.pieces = {Piece{Pattern(4096, 1), 0}, Piece{Pattern(6144, 2), 0}, Piece{Pattern(100, 3), 0}};
    Node wide = File("notes-\xCE\xB1\xCE\xB2.txt", "alpha beta");
    Node latin = File("Manual \xC3\x9C" "bersicht.txt", Pattern(3000, 5));
    Node hidden = File("hidden.txt", "h");
    hidden.hidden = true;
    Node gone = File("deleted.txt", "d");
    gone.deleted = true;
    Node embedded = File("small.txt", "embedded bytes");
    embedded.ad = kEmbedded;
    std::vector<Node> many;
    for (int i = 0; i < 40; ++i) many.push_back(File("f" + std::to_string(i) + ".dat", Pattern(i * 37, i)));
    std::vector<Node> top = {File("README.TXT", "hello\n"), File("empty.bin", ""), big, multi, wide, latin, hidden};
    if (withDeleted) top.push_back(gone);
    for (Node& n : std::vector<Node>{embedded, Dir("deep", {Dir("inner", {File("bottom.txt", "bottom")})}), Dir("many", many)})
        top.push_back(n);
    return Dir("", top);
}

struct Expected {
    bool dir;
    std::string data;
};

void Collect(const Node& n, const std::string& path, std::map<std::string, Expected>& out) {
    for (const Node& c : n.children) {
        if (c.deleted) continue;
        std::string p = path.empty() ? c.name : path + "/" + c.name;
        std::string data = c.data;
        for (const Piece& piece : c.pieces) data += piece.bytes;
        out[p] = Expected{c.directory, data};
        if (c.directory) Collect(c, p, out);
    }
}

std::string RunCommand(const std::string& command) {
    std::string out;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return out;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, pipe)) > 0) out.append(buf, n);
    pclose(pipe);
    return out;
}

class UdfMasteringOracle : public ::testing::TestWithParam<uint16_t> {};

Options OptionsFor(uint16_t revision) {
    Options o;
    o.revision = revision;
    o.efe = revision >= 0x0250;
    o.ad = revision >= 0x0250 ? kLong : kShort;
    o.volume = "ORACLE_VOL";
    return o;
}

}  // namespace

TEST_P(UdfMasteringOracle, SevenZipListsAndExtractsExactlyTheDescription) {
    if (!HaveTool("7z")) GTEST_SKIP() << "7z is not installed here";
    Node tree = SampleTree();
    std::string image = WriteImage(Build(tree, OptionsFor(GetParam())), "oracle7z-" + std::to_string(GetParam()));
    std::map<std::string, Expected> expected;
    Collect(tree, "", expected);
    auto listed = ParseSevenZipListing(RunCommand("7z l -slt '" + image + "'"));
    ASSERT_EQ(listed.size(), expected.size());
    for (const auto& [path, e] : expected) {
        ASSERT_TRUE(listed.count(path)) << path;
        EXPECT_EQ(listed[path].folder, e.dir) << path;
        if (!e.dir) {
            EXPECT_EQ(listed[path].size, e.data.size()) << path;
        }
        EXPECT_EQ(listed[path].modified, "2024-05-17 10:20:30.000000") << path;
    }
    std::string dir = TempDir("oracle-x");
    ASSERT_EQ(std::system(("rm -rf '" + dir + "' && 7z x -y -o'" + dir + "' '" + image + "' >/dev/null").c_str()), 0);
    for (const auto& [path, e] : expected) {
        if (!e.dir) {
            EXPECT_TRUE(ReadWholeFile(dir + "/" + path) == e.data) << path;
        }
    }
}

TEST_P(UdfMasteringOracle, UdfinfoReadsTheVolume) {
    if (!HaveTool("udfinfo")) GTEST_SKIP() << "udfinfo is not installed here";
    std::string image = WriteImage(Build(SampleTree(), OptionsFor(GetParam())), "oracleinfo-" + std::to_string(GetParam()));
    std::string info = RunCommand("udfinfo '" + image + "' 2>&1");
    EXPECT_NE(info.find("label=ORACLE_VOL"), std::string::npos) << info;
    char rev[32];
    std::snprintf(rev, sizeof rev, "udfrev=%x.%02x", GetParam() >> 8, GetParam() & 0xFF);
    EXPECT_NE(info.find(rev), std::string::npos) << info;
    EXPECT_NE(info.find("numdirs=4"), std::string::npos) << info;
    EXPECT_NE(info.find("integrity=closed"), std::string::npos) << info;
}

#ifdef VEXLON_HAVE_UDFREAD
namespace {

struct UdfreadApi {
    void* lib = dlopen("libudfread.so.0", RTLD_NOW);
    template <typename T>
    T Get(const char* name) { return lib ? reinterpret_cast<T>(dlsym(lib, name)) : nullptr; }
};

void ListWithUdfread(UdfreadApi& api, udfread* u, const std::string& path, std::map<std::string, std::string>& out) {
    auto opendir = api.Get<UDFDIR* (*)(udfread*, const char*)>("udfread_opendir");
    auto readdir = api.Get<udfread_dirent* (*)(UDFDIR*, udfread_dirent*)>("udfread_readdir");
    auto closedir = api.Get<void (*)(UDFDIR*)>("udfread_closedir");
    auto fopen_ = api.Get<UDFFILE* (*)(udfread*, const char*)>("udfread_file_open");
    auto fsize = api.Get<int64_t (*)(UDFFILE*)>("udfread_file_size");
    auto fread_ = api.Get<ssize_t (*)(UDFFILE*, void*, size_t)>("udfread_file_read");
    auto fclose_ = api.Get<void (*)(UDFFILE*)>("udfread_file_close");
    UDFDIR* d = opendir(u, path.empty() ? "/" : path.c_str());
    ASSERT_NE(d, nullptr) << path;
    udfread_dirent entry;
    std::vector<std::pair<std::string, bool>> children;
    while (readdir(d, &entry)) {
        std::string name = entry.d_name;
        if (name == "." || name == "..") continue;
        children.push_back({name, entry.d_type == UDF_DT_DIR});
    }
    closedir(d);
    for (auto& [name, isDir] : children) {
        std::string p = path.empty() ? name : path + "/" + name;
        if (isDir) {
            out[p] = "<dir>";
            ListWithUdfread(api, u, p, out);
            continue;
        }
        UDFFILE* f = fopen_(u, ("/" + p).c_str());
        ASSERT_NE(f, nullptr) << p;
        std::string data(static_cast<size_t>(fsize(f)), '\0');
        if (!data.empty()) {
            EXPECT_EQ(fread_(f, &data[0], data.size()), static_cast<ssize_t>(data.size())) << p;
        }
        fclose_(f);
        out[p] = data;
    }
}

}  // namespace

TEST_P(UdfMasteringOracle, LibudfreadReadsTheTreeAndData) {
    UdfreadApi api;
    if (!api.lib) GTEST_SKIP() << "libudfread is not installed here";
    Node tree = SampleTree(false);
    std::string image = WriteImage(Build(tree, OptionsFor(GetParam())), "oracleread-" + std::to_string(GetParam()));
    udfread* u = api.Get<udfread* (*)()>("udfread_init")();
    ASSERT_EQ(api.Get<int (*)(udfread*, const char*)>("udfread_open")(u, image.c_str()), 0);
    EXPECT_STREQ(api.Get<const char* (*)(udfread*)>("udfread_get_volume_id")(u), "ORACLE_VOL");
    std::map<std::string, std::string> seen;
    ListWithUdfread(api, u, "", seen);
    api.Get<void (*)(udfread*)>("udfread_close")(u);
    std::map<std::string, Expected> expected;
    Collect(tree, "", expected);
    for (const auto& entry : seen) EXPECT_TRUE(expected.count(entry.first)) << "extra: " << entry.first;
    ASSERT_EQ(seen.size(), expected.size());
    for (const auto& [path, e] : expected) {
        ASSERT_TRUE(seen.count(path)) << path;
        EXPECT_TRUE(seen[path] == (e.dir ? std::string("<dir>") : e.data)) << path;
    }
}
#endif

// Our reader agrees with the description too.
TEST_P(UdfMasteringOracle, OurReaderReadsTheTreeAndData) {
    Node tree = SampleTree();
    MountedDisc disc(WriteImage(Build(tree, OptionsFor(GetParam())), "oracleours-" + std::to_string(GetParam())));
    ASSERT_TRUE(disc.mounted);
    EXPECT_STREQ(disc.reader.VolumeName(), "ORACLE_VOL");
    std::map<std::string, Expected> expected;
    Collect(tree, "", expected);
    size_t seen = 0;
    WalkTree(disc.reader.root, [&](const FileNode* node) {
        std::string path = NodePath(node);
        std::string key;
        for (const auto& [p, e] : expected)
            if (LowBytes(p) == path) key = p;
        ASSERT_FALSE(key.empty()) << path;
        ++seen;
        const Expected& e = expected[key];
        EXPECT_EQ(Val(node->isDirectory) != 0, e.dir) << path;
        if (e.dir || key == "small.txt") return;
        std::string data(e.data.size(), '\0');
        uint32_t got = 0;
        ReadFileData(disc.reader, node, 0, data.empty() ? nullptr : &data[0], static_cast<uint32_t>(data.size()), got);
        EXPECT_EQ(got, data.size()) << path;
        EXPECT_TRUE(data == e.data) << path;
    });
    EXPECT_EQ(seen, expected.size());
}

INSTANTIATE_TEST_SUITE_P(Revisions, UdfMasteringOracle, ::testing::Values(0x0102, 0x0201, 0x0250),
                         [](const ::testing::TestParamInfo<uint16_t>& p) {
                             return "Udf" + std::to_string(p.param >> 8) + "_" +
                                    std::to_string((p.param >> 4) & 15) + std::to_string(p.param & 15);
                         });
