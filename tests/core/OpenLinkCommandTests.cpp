#include <gtest/gtest.h>

#include "pages/OpenLinkCommand.h"

namespace {

const std::wstring kUrl = L"https://www.vexlon.example/disccopy/";

TEST(BrowserCommandLine, QuotedPlaceholderBecomesTheQuotedUrl) {
    EXPECT_EQ(BrowserCommandLine(L"\"C:\\Program Files\\Browser\\browser.exe\" \"%1\"", kUrl),
              L"\"C:\\Program Files\\Browser\\browser.exe\" \"https://www.vexlon.example/disccopy/\"");
}

TEST(BrowserCommandLine, BarePlaceholderBecomesTheQuotedUrl) {
    EXPECT_EQ(BrowserCommandLine(L"C:\\Browser\\browser.exe -url %1", kUrl),
              L"C:\\Browser\\browser.exe -url \"https://www.vexlon.example/disccopy/\"");
}

TEST(BrowserCommandLine, CommandWithoutPlaceholderGetsASpaceAndTheQuotedUrl) {
    EXPECT_EQ(BrowserCommandLine(L"\"C:\\Browser\\browser.exe\"", kUrl),
              L"\"C:\\Browser\\browser.exe\" \"https://www.vexlon.example/disccopy/\"");
    EXPECT_EQ(BrowserCommandLine(L"browser.exe -nohome", kUrl),
              L"browser.exe -nohome \"https://www.vexlon.example/disccopy/\"");
}

TEST(BrowserCommandLine, WhatFollowsThePlaceholderIsDropped) {
    EXPECT_EQ(BrowserCommandLine(L"\"browser.exe\" \"%1\" -new-window", kUrl),
              L"\"browser.exe\" \"https://www.vexlon.example/disccopy/\"");
    EXPECT_EQ(BrowserCommandLine(L"browser.exe %1,0", kUrl), L"browser.exe \"https://www.vexlon.example/disccopy/\"");
}

TEST(BrowserCommandLine, QuotedPlaceholderWinsOverAnEarlierBareOne) {
    // The quoted form is looked for first, wherever it is.
    EXPECT_EQ(BrowserCommandLine(L"browser.exe -a%1 \"%1\"", L"u"), L"browser.exe -a%1 \"u\"");
}

TEST(BrowserCommandLine, OnlyTheFirstPlaceholderIsUsed) {
    EXPECT_EQ(BrowserCommandLine(L"b.exe %1 %1", L"u"), L"b.exe \"u\"");
}

TEST(BrowserCommandLine, OtherPlaceholdersAreNotTheUrl) {
    EXPECT_EQ(BrowserCommandLine(L"b.exe %2 %L", L"u"), L"b.exe %2 %L \"u\"");
}

TEST(BrowserCommandLine, EmptyCommandStillQuotesTheUrl) {
    EXPECT_EQ(BrowserCommandLine(L"", L"u"), L" \"u\"");
}

TEST(BrowserCommandLine, LongUrlIsKeptWhole) {
    std::wstring url = L"https://www.vexlon.example/" + std::wstring(2000, L'x');
    std::wstring line = BrowserCommandLine(L"\"b.exe\" \"%1\"", url);
    EXPECT_EQ(line, L"\"b.exe\" \"" + url + L"\"");
}

}  // namespace
