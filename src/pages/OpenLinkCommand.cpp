#include "pages/OpenLinkCommand.h"

std::wstring BrowserCommandLine(const std::wstring& command, const std::wstring& url) {
    std::wstring line = command;
    // A quoted placeholder goes with its quotes, so the URL is never quoted twice.
    std::wstring::size_type cut = line.find(L"\"%1\"");
    if (cut == std::wstring::npos) cut = line.find(L"%1");
    if (cut == std::wstring::npos) {
        line += L' ';
    } else {
        line.erase(cut);
    }
    line += L'"';
    line += url;
    line += L'"';
    return line;
}
