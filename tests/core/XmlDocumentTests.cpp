#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "common/BlockArena.h"
#include "snapshot/XmlDocument.h"

namespace {

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string TempName(const char* leaf) {
    return ::testing::TempDir() + leaf;
}

class XmlDocumentTest : public ::testing::Test {
protected:
    void SetUp() override { XmlInitDocument(&doc); }
    void TearDown() override { XmlDestroyDocument(&doc); }
    // Saves through the file path, the way the snapshot is written.
    std::string SavedFile(XmlNode* start = nullptr) {
        std::string path = TempName("xml-document-test.xml");
        std::remove(path.c_str());
        XmlSave(&doc, path.c_str(), start);
        return ReadFile(path);
    }
    XmlNode* Root(const char* name) { return XmlAppendChild(XmlTopLevel(&doc), XmlCreateElement(&doc, name)); }
    XmlDocument doc;
};

TEST_F(XmlDocumentTest, FreshDocumentHasNoArenaAndTheTopNodeBelongsToIt) {
    EXPECT_EQ(doc.arena, nullptr);
    EXPECT_EQ(XmlOwner(XmlTopLevel(&doc)), &doc);
    EXPECT_EQ(XmlName(XmlTopLevel(&doc)), nullptr);
    EXPECT_EQ(XmlText(XmlTopLevel(&doc)), nullptr);
    EXPECT_FALSE(doc.writeByteOrderMark);
}

TEST_F(XmlDocumentTest, ArenaIsMadeOnFirstElementWithFourMebibyteBlocks) {
    XmlNode* node = XmlCreateElement(&doc, "os");
    ASSERT_NE(node, nullptr);
    ASSERT_NE(doc.arena, nullptr);
    EXPECT_EQ(ArenaBlockSize(doc.arena), 4194304u);
    EXPECT_STREQ(XmlName(node), "os");
    EXPECT_EQ(XmlOwner(node), &doc);
    EXPECT_EQ(XmlFirstChild(node), nullptr);
    EXPECT_EQ(XmlNextSibling(node), nullptr);
    EXPECT_EQ(XmlText(node), nullptr);
    EXPECT_EQ(XmlFirstAttribute(node), nullptr);
}

TEST_F(XmlDocumentTest, RecordsAndStringsArePackedWithoutAlignmentGaps) {
    XmlNode* a = XmlCreateElement(&doc, "abc");  // record, then 4 name bytes
    XmlNode* b = XmlCreateElement(&doc, "x");
    const unsigned char* pa = reinterpret_cast<const unsigned char*>(a);
    const unsigned char* pb = reinterpret_cast<const unsigned char*>(b);
    EXPECT_EQ(pb - pa, static_cast<long>(kXmlNodeRecordSize + 4));
    EXPECT_EQ(XmlName(a), reinterpret_cast<const char*>(pa + kXmlNodeRecordSize));
}

TEST_F(XmlDocumentTest, AppendChildKeepsOrder) {
    XmlNode* root = Root("crashrpt");
    XmlNode* first = XmlAppendChild(root, XmlCreateElement(&doc, "a"));
    XmlNode* second = XmlAppendChild(root, XmlCreateElement(&doc, "b"));
    XmlNode* third = XmlAppendChild(root, XmlCreateElement(&doc, "c"));
    EXPECT_EQ(XmlFirstChild(root), first);
    EXPECT_EQ(XmlNextSibling(first), second);
    EXPECT_EQ(XmlNextSibling(second), third);
    EXPECT_EQ(XmlNextSibling(third), nullptr);
    EXPECT_EQ(XmlFirstChild(XmlTopLevel(&doc)), root);
}

TEST_F(XmlDocumentTest, ElementWithoutTextOrChildrenIsOneLineWithBothTags) {
    XmlNode* root = Root("crashrpt");
    XmlNode* section = XmlAppendChild(root, XmlCreateElement(&doc, "system_info"));
    XmlNode* os = XmlAppendChild(section, XmlCreateElement(&doc, "os"));
    XmlSetAttribute(os, "model", "Windows 7");
    XmlSetAttribute(os, "version", "6.1");
    EXPECT_EQ(SavedFile(),
              "<crashrpt>\r\n"
              "\t<system_info>\r\n"
              "\t\t<os model=\"Windows 7\" version=\"6.1\"></os>\r\n"
              "\t</system_info>\r\n"
              "</crashrpt>\r\n");
}

TEST_F(XmlDocumentTest, RootWithChildrenEndsItsLineAndClosesAtTheStartOfTheLastLine) {
    XmlNode* root = Root("crashrpt");
    XmlAppendChild(root, XmlCreateElement(&doc, "a"));
    XmlAppendChild(root, XmlCreateElement(&doc, "b"));
    EXPECT_EQ(SavedFile(), "<crashrpt>\r\n\t<a></a>\r\n\t<b></b>\r\n</crashrpt>\r\n");
}

TEST_F(XmlDocumentTest, TextComesDirectlyAfterTheStartTagAndBeforeChildren) {
    XmlNode* root = Root("r");
    XmlNode* p = XmlAppendChild(root, XmlCreateElement(&doc, "process"));
    XmlSetText(p, "svchost");
    XmlSetText(XmlAppendChild(p, XmlCreateElement(&doc, "dll")), "ntdll.dll");
    EXPECT_EQ(SavedFile(),
              "<r>\r\n"
              "\t<process>svchost\r\n"
              "\t\t<dll>ntdll.dll</dll>\r\n"
              "\t</process>\r\n"
              "</r>\r\n");
}

TEST_F(XmlDocumentTest, FiveEntitiesAndHighBytesPassUnchanged) {
    XmlNode* root = Root("r");
    XmlSetText(root, "a&b<c>d\"e'f \xC3\xA4\xE4");
    XmlSetAttribute(root, "v", "<&>\"'\xE4");
    EXPECT_EQ(SavedFile(),
              "<r v=\"&lt;&amp;&gt;&quot;&apos;\xE4\">a&amp;b&lt;c&gt;d&quot;e&apos;f \xC3\xA4\xE4</r>\r\n");
}

TEST_F(XmlDocumentTest, TabsAndLineFeedsInTextAreWrittenAsTheyAreWithTextModeLineEnds) {
    XmlNode* root = Root("r");
    XmlSetText(root, "a\tb\nc\r\nd");
    // Text mode turns every line feed into CR LF, also one that was already
    // preceded by a carriage return.
    EXPECT_EQ(SavedFile(), "<r>a\tb\r\nc\r\r\nd</r>\r\n");
}

TEST_F(XmlDocumentTest, NamesDeclarationAndStylesheetAreNotEscaped) {
    XmlSetDeclaration(&doc, "1.0&", "UTF-8", nullptr);
    XmlSetStylesheet(&doc, "text/xsl", "a<b.xsl");
    Root("n&m");
    EXPECT_EQ(SavedFile(),
              "<?xml version=\"1.0&\" encoding=\"UTF-8\"?>\r\n"
              "<?xml-stylesheet type=\"text/xsl\" href=\"a<b.xsl\"?>\r\n"
              "<n&m></n&m>\r\n");
}

TEST_F(XmlDocumentTest, ByteOrderMarkIsFollowedDirectlyByTheDeclarationAndEveryLineEndsInCrLf) {
    XmlSetWriteByteOrderMark(&doc, true);
    XmlSetDeclaration(&doc, "1.0", "UTF-8", nullptr);
    XmlSetStylesheet(&doc, "text/xsl", "snapshot.xsl");
    XmlNode* root = Root("crashrpt");
    XmlAppendChild(XmlAppendChild(root, XmlCreateElement(&doc, "s")), XmlCreateElement(&doc, "i"));
    std::string file = SavedFile();
    EXPECT_EQ(file,
              "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
              "<?xml-stylesheet type=\"text/xsl\" href=\"snapshot.xsl\"?>\r\n"
              "<crashrpt>\r\n\t<s>\r\n\t\t<i></i>\r\n\t</s>\r\n</crashrpt>\r\n");
    for (size_t i = 0; i < file.size(); ++i) {
        if (file[i] == '\n') {
            EXPECT_EQ(file[i - 1], '\r') << "at " << i;
        }
    }
}

TEST_F(XmlDocumentTest, StandaloneIsWrittenWhenSet) {
    XmlSetDeclaration(&doc, "1.0", nullptr, "yes");
    Root("r");
    EXPECT_EQ(SavedFile(), "<?xml version=\"1.0\" standalone=\"yes\"?>\r\n<r></r>\r\n");
}

TEST_F(XmlDocumentTest, DeclarationWithoutVersionAndStylesheetWithoutTypeAreLeftOut) {
    XmlSetDeclaration(&doc, nullptr, "UTF-8", "no");
    XmlSetStylesheet(&doc, nullptr, "snapshot.xsl");
    Root("r");
    EXPECT_EQ(SavedFile(), "<r></r>\r\n");
}

TEST_F(XmlDocumentTest, StylesheetWithoutHref) {
    XmlSetStylesheet(&doc, "text/xsl", nullptr);
    Root("r");
    EXPECT_EQ(SavedFile(), "<?xml-stylesheet type=\"text/xsl\"?>\r\n<r></r>\r\n");
}

TEST_F(XmlDocumentTest, SaveFromAStartNodeWritesItAndItsFollowingSiblings) {
    XmlNode* root = Root("r");
    XmlNode* a = XmlAppendChild(root, XmlCreateElement(&doc, "a"));
    XmlAppendChild(root, XmlCreateElement(&doc, "b"));
    XmlNode* b = XmlNextSibling(a);
    EXPECT_EQ(SavedFile(b), "<b></b>\r\n");
    EXPECT_EQ(SavedFile(a), "<a></a>\r\n<b></b>\r\n");
}

TEST_F(XmlDocumentTest, EmptyDocumentWritesOnlyTheHead) {
    XmlSetWriteByteOrderMark(&doc, true);
    EXPECT_EQ(SavedFile(), "\xEF\xBB\xBF");
}

TEST_F(XmlDocumentTest, SaveToAnUnopenableFileWritesNothingAndDoesNotCrash) {
    Root("r");
    std::string path = TempName("no-such-dir-xml/x/y.xml");
    XmlSave(&doc, path.c_str(), nullptr);
    EXPECT_FALSE(std::ifstream(path).good());
}

TEST_F(XmlDocumentTest, SaveToStringEqualsTheFile) {
    XmlSetWriteByteOrderMark(&doc, true);
    XmlSetDeclaration(&doc, "1.0", "UTF-8", nullptr);
    XmlNode* root = Root("crashrpt");
    XmlSetText(XmlAppendChild(root, XmlCreateElement(&doc, "t")), "x\ny");
    EXPECT_EQ(XmlSaveToString(&doc, nullptr), SavedFile());
}

TEST_F(XmlDocumentTest, SavingTwiceTruncates) {
    XmlNode* root = Root("r");
    XmlSetText(root, "a long text that makes the first file longer");
    std::string first = SavedFile();
    XmlSetText(root, "short");
    EXPECT_EQ(SavedFile(), "<r>short</r>\r\n");
    EXPECT_GT(first.size(), 20u);
}

TEST_F(XmlDocumentTest, AttributeSetTwiceKeepsItsPlaceAndShorterValueReusesStorage) {
    XmlNode* root = Root("r");
    XmlSetAttribute(root, "a", "first-value");
    XmlSetAttribute(root, "b", "2");
    const char* storage = XmlGetAttribute(root, "a");
    XmlSetAttribute(root, "a", "short");
    EXPECT_EQ(XmlGetAttribute(root, "a"), storage);
    EXPECT_STREQ(storage, "short");
    EXPECT_EQ(SavedFile(), "<r a=\"short\" b=\"2\"></r>\r\n");
}

TEST_F(XmlDocumentTest, LongerAttributeValueGetsFreshStorageInTheSamePlace) {
    XmlNode* root = Root("r");
    XmlSetAttribute(root, "a", "1");
    XmlSetAttribute(root, "b", "2");
    const char* storage = XmlGetAttribute(root, "a");
    XmlSetAttribute(root, "a", "longer");
    EXPECT_NE(XmlGetAttribute(root, "a"), storage);
    EXPECT_STREQ(storage, "1");
    EXPECT_EQ(SavedFile(), "<r a=\"longer\" b=\"2\"></r>\r\n");
}

TEST_F(XmlDocumentTest, EqualLengthValueIsWrittenInPlace) {
    XmlNode* root = Root("r");
    XmlSetAttribute(root, "a", "abc");
    const char* storage = XmlGetAttribute(root, "a");
    XmlSetAttribute(root, "a", "xyz");
    EXPECT_EQ(XmlGetAttribute(root, "a"), storage);
    EXPECT_STREQ(storage, "xyz");
}

TEST_F(XmlDocumentTest, AttributeNamesCompareCaseSensitively) {
    XmlNode* root = Root("r");
    XmlSetAttribute(root, "Name", "1");
    XmlSetAttribute(root, "name", "2");
    EXPECT_EQ(SavedFile(), "<r Name=\"1\" name=\"2\"></r>\r\n");
}

TEST_F(XmlDocumentTest, TheLastOfEqualNamesIsTheOneThatIsSet) {
    // Equal names can only come from the arena being poked directly; the
    // model matches the last one, so build two by renaming the first.
    XmlNode* root = Root("r");
    XmlSetAttribute(root, "a", "1");
    XmlSetAttribute(root, "b", "2");
    XmlAttribute* first = XmlFirstAttribute(root);
    char* firstName = const_cast<char*>(XmlAttributeName(first));
    firstName[0] = 'b';
    XmlSetAttribute(root, "b", "3");
    EXPECT_EQ(SavedFile(), "<r b=\"1\" b=\"3\"></r>\r\n");
}

TEST_F(XmlDocumentTest, EmptyValueIsStillWritten) {
    XmlNode* root = Root("r");
    XmlSetAttribute(root, "name", "");
    XmlSetAttribute(root, "none", nullptr);
    std::string value;
    WideToUtf8(value, u"", 0);
    XmlSetAttribute(root, "wide", value.c_str());
    EXPECT_EQ(SavedFile(), "<r name=\"\" none=\"\" wide=\"\"></r>\r\n");
}

TEST_F(XmlDocumentTest, IntegerAttributesUsePercentD) {
    XmlNode* root = Root("r");
    XmlSetAttributeInt(root, "a", 0);
    XmlSetAttributeInt(root, "b", -2147483647 - 1);
    XmlSetAttributeInt(root, "c", 2147483647);
    EXPECT_EQ(SavedFile(), "<r a=\"0\" b=\"-2147483648\" c=\"2147483647\"></r>\r\n");
}

TEST_F(XmlDocumentTest, ShorterTextReusesStorageLongerTextMovesOn) {
    XmlNode* root = Root("r");
    XmlSetText(root, "hello");
    const char* storage = XmlText(root);
    XmlSetText(root, "hi");
    EXPECT_EQ(XmlText(root), storage);
    EXPECT_STREQ(XmlText(root), "hi");
    XmlSetText(root, "hello world");
    EXPECT_NE(XmlText(root), storage);
    EXPECT_STREQ(XmlText(root), "hello world");
}

TEST_F(XmlDocumentTest, EmptyTextIsWrittenLikeNoText) {
    XmlNode* root = Root("r");
    XmlSetText(root, "");
    EXPECT_STREQ(XmlText(root), "");
    EXPECT_EQ(SavedFile(), "<r></r>\r\n");
}

TEST_F(XmlDocumentTest, CopyStringCopiesLengthBytesAndTerminates) {
    char* copy = XmlCopyString(&doc, "abcdef", 3);
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(copy, "abc");
    EXPECT_EQ(XmlCopyString(&doc, nullptr, 3), nullptr);
}

TEST_F(XmlDocumentTest, NullSourceDoesNotMakeTheArena) {
    EXPECT_EQ(XmlCopyString(&doc, nullptr, 5), nullptr);
    EXPECT_EQ(doc.arena, nullptr);
}

TEST_F(XmlDocumentTest, CopyStringOfABlockOrMoreFails) {
    std::string big(kXmlArenaBlockSize, 'x');
    EXPECT_EQ(XmlCopyString(&doc, big.c_str(), static_cast<int>(big.size())), nullptr);
}

TEST_F(XmlDocumentTest, StringsOfFourMebibytesOrMoreAreStoredEmpty) {
    std::string big(kXmlArenaBlockSize, 'x');
    XmlNode* root = Root("r");
    XmlSetText(root, big.c_str());
    XmlSetAttribute(root, "big", big.c_str());
    XmlSetAttribute(root, "after", "1");
    EXPECT_STREQ(XmlText(root), "");
    EXPECT_EQ(SavedFile(), "<r big=\"\" after=\"1\"></r>\r\n");
}

TEST_F(XmlDocumentTest, StringJustBelowABlockIsStoredInAFreshBlock) {
    // The largest string one block can hold: block less its link, less the NUL.
    std::string big(kXmlArenaBlockSize - 9, 'y');
    XmlNode* root = Root("r");
    XmlSetText(root, big.c_str());
    EXPECT_EQ(std::strlen(XmlText(root)), big.size());
    EXPECT_EQ(ArenaBlockCount(doc.arena), 2u);
}

TEST_F(XmlDocumentTest, ManyElementsSpanSeveralBlocksAndAllAreWritten) {
    // Appending walks the sibling list, so the items are spread over
    // sections as in a real snapshot; about 8 MiB of records and strings.
    XmlNode* root = Root("crashrpt");
    const int sections = 400, items = 250;
    for (int s = 0; s < sections; ++s) {
        XmlNode* section = XmlAppendChild(root, XmlCreateElement(&doc, "section"));
        for (int i = 0; i < items; ++i) {
            XmlNode* item = XmlAppendChild(section, XmlCreateElement(&doc, "item"));
            XmlSetAttributeInt(item, "id", s * items + i);
        }
    }
    EXPECT_GE(ArenaBlockCount(doc.arena), 2u);
    std::string file = SavedFile();
    size_t lines = 0;
    for (char c : file) lines += c == '\n';
    EXPECT_EQ(lines, static_cast<size_t>(sections) * (items + 2) + 2);
    EXPECT_NE(file.find("\t\t<item id=\"99999\"></item>\r\n\t</section>\r\n</crashrpt>\r\n"), std::string::npos);
}

TEST_F(XmlDocumentTest, DeepTreesAreWrittenWithoutRecursion) {
    XmlNode* node = Root("d");
    const int depth = 3000;
    for (int i = 0; i < depth; ++i) node = XmlAppendChild(node, XmlCreateElement(&doc, "d"));
    std::string file = XmlSaveToString(&doc, nullptr);
    EXPECT_EQ(file.substr(file.size() - 6), "</d>\r\n");
    EXPECT_EQ(file.compare(0, 9, "<d>\r\n\t<d>"), 0);
}

TEST_F(XmlDocumentTest, DestroyResetsTheDocument) {
    Root("r");
    XmlDestroyDocument(&doc);
    EXPECT_EQ(doc.arena, nullptr);
    EXPECT_EQ(XmlFirstChild(XmlTopLevel(&doc)), nullptr);
}

// What xmllint reads from `path` at `xpath` (string value), or a note that
// it refused the file. xmllint is a Linux tool run through the shell.
std::string XmllintRead(const std::string& path, const std::string& xpath) {
#ifdef _WIN32
    (void)path;
    (void)xpath;
    return "(no xmllint)";
#else
    std::string command = "xmllint --noout '" + path + "' 2>&1 && xmllint --xpath '" + xpath + "' '" + path + "' 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return "(popen failed)";
    std::string out;
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
    int status = pclose(pipe);
    if (status != 0) return "(xmllint failed) " + out;
    if (!out.empty() && out.back() == '\n') out.pop_back();  // xmllint ends its answer with a line feed
    return out;
#endif
}

TEST_F(XmlDocumentTest, XmllintAcceptsHostileTextAndReadsItBack) {
#ifdef _WIN32
    GTEST_SKIP() << "xmllint is a Linux tool; the Windows build cannot start it";
#else
    if (std::system("command -v xmllint >/dev/null 2>&1") != 0) GTEST_SKIP() << "xmllint is not installed";
#endif
    XmlSetWriteByteOrderMark(&doc, true);
    XmlSetDeclaration(&doc, "1.0", "UTF-8", nullptr);
    XmlSetStylesheet(&doc, "text/xsl", "snapshot.xsl");
    XmlNode* root = Root("crashrpt");
    XmlNode* item = XmlAppendChild(root, XmlCreateElement(&doc, "software"));
    std::string wide;
    WideToUtf8(wide, u"<script>alert('x')</script> & \"\u00e4\u5206\u533a\U0001F600\"", 0);
    XmlSetText(item, wide.c_str());
    XmlSetAttribute(item, "description", "Tom & Jerry \"Player\" <b>bold</b> it's");
    XmlSetAttribute(item, "description", "<&>\"'");  // shorter: written over the first value
    XmlSetAttribute(item, "location", "C:\\Program Files\\T&J\\");
    XmlAppendChild(item, XmlCreateElement(&doc, "empty"));
    std::string path = TempName("xml-document-xmllint.xml");
    std::remove(path.c_str());
    XmlSave(&doc, path.c_str(), nullptr);
    EXPECT_EQ(XmllintRead(path, "string(/crashrpt/software/@description)"), "<&>\"'");
    EXPECT_EQ(XmllintRead(path, "string(/crashrpt/software/@location)"), "C:\\Program Files\\T&J\\");
    // The element's string value is its text, then the line ends and tabs
    // around the empty child (CR LF read back as LF).
    EXPECT_EQ(XmllintRead(path, "string(/crashrpt/software)"),
              "<script>alert('x')</script> & \"\xC3\xA4\xE5\x88\x86\xE5\x8C\xBA\xF0\x9F\x98\x80\"\n\t\t\n\t");
    EXPECT_EQ(XmllintRead(path, "count(/crashrpt/software/empty)"), "1");
}

std::string Utf8(const char16_t* text, int count = 0) {
    std::string out = "stale contents";
    WideToUtf8(out, text, count);
    return out;
}

TEST(WideToUtf8, OneTwoAndThreeByteForms) {
    EXPECT_EQ(Utf8(u"A"), "A");
    EXPECT_EQ(Utf8(u"\u007F\u0080\u07FF\u0800\uFFFF"), "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF");
    EXPECT_EQ(Utf8(u"\u5206\u533A"), "\xE5\x88\x86\xE5\x8C\xBA");
}

TEST(WideToUtf8, SurrogatePairGivesOneFourByteSequence) {
    EXPECT_EQ(Utf8(u"\U0001F600"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(Utf8(u"\U00010000"), "\xF0\x90\x80\x80");
    EXPECT_EQ(Utf8(u"\U0010FFFF"), "\xF4\x8F\xBF\xBF");
}

TEST(WideToUtf8, EmptyGivesEmpty) {
    EXPECT_EQ(Utf8(u""), "");
    EXPECT_EQ(Utf8(nullptr), "");
}

TEST(WideToUtf8, CountLimitsAndNulStopsEarly) {
    EXPECT_EQ(Utf8(u"abcdef", 3), "abc");
    const char16_t text[] = {u'a', 0, u'b', 0};
    EXPECT_EQ(Utf8(text, 3), "a");
}

TEST(WideToUtf8, LoneLowSurrogateIsTakenAsTheStartOfAPair) {
    // DC00 then 'A' (0x41): ((0 + 0x40) << 10) + 0x41 = 0x10041.
    EXPECT_EQ(Utf8(u"\xDC00" u"A"), "\xF0\x90\x81\x81");
}

TEST(WideToUtf8, HighSurrogateSwallowsWhateverFollows) {
    // D801 then 'B': (((1) + 0x40) << 10) + 0x42 = 0x10442.
    EXPECT_EQ(Utf8(u"\xD801" u"Bc"), "\xF0\x90\x91\x82" "c");
}

TEST(WideToUtf8, HighSurrogateAtTheEndTakesTheTerminatingNul) {
    EXPECT_EQ(Utf8(u"a\xD800"), "a\xF0\x90\x80\x80");
    const char16_t counted[] = {u'a', 0xD800, u'Z'};
    EXPECT_EQ(Utf8(counted, 2), "a\xF0\x90\x80\x80");
}

TEST(WideToUtf8, NulSwallowedByAPairDoesNotEndTheWalk) {
    const char16_t text[] = {0xD800, 0, u'x', 0};
    EXPECT_EQ(Utf8(text, 3), std::string("\xF0\x90\x80\x80") + "x");
}

}  // namespace

TEST(UpToNul, StopsAtTheFirstNulOrTheLimitAndTakesNullAsEmpty) {
    const char16_t text[] = {u'a', u'b', 0, u'c'};
    EXPECT_TRUE(UpToNul(text, 4) == u"ab");
    EXPECT_TRUE(UpToNul(text, 1) == u"a");
    EXPECT_TRUE(UpToNul(text, 0).empty());
    const char16_t full[] = {u'x', u'y', u'z'};  // no NUL inside the limit
    EXPECT_TRUE(UpToNul(full, 3) == u"xyz");
    EXPECT_TRUE(UpToNul(nullptr, 100).empty());
}
