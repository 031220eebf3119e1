// The File page. It owns one mounted reader at a time; all disc reading
// happens while mounting, and browsing only walks the tree in memory.

#include "pages/FilePage.h"

#include <commctrl.h>
#include <commdlg.h>
#include <shlwapi.h>

#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/AppState.h"
#include "app/MainDialog.h"
#include "app/PageSkeleton.h"
#include "device/SptiDevice.h"
#include "pages/FileFormat.h"
#include "pages/FileList.h"
#include "pages/FileListRows.h"
#include "udf/UdfListing.h"
#include "udf/UdfReader.h"
#include "udf/UdfTree.h"

namespace {

constexpr int kTree = 110;
constexpr int kList = 111;
constexpr int kExport = 112;
constexpr int kExtract = 200;
constexpr WORD kPopupMenu = 1;

constexpr int kDirectoryImage = 0;
constexpr int kOpenDirectoryImage = 1;
constexpr int kVolumeImage = 2;

CUdfReader* mountedReader = nullptr;
const FileNode* extractTarget = nullptr;

// What the list shows, row by row in its order: the list holds no items of
// its own and asks for these as it draws or is read.
struct ListedRow {
    const FileNode* node;
    FileListRow row;
};
std::vector<ListedRow> listedRows;
void ForgetListTexts();
HIMAGELIST treeImages = nullptr;

struct Column {
    UINT text;
    int width;
    int format;
};
const Column kColumns[] = {
    {100, 140, LVCFMT_LEFT}, {109, 60, LVCFMT_RIGHT}, {102, 80, LVCFMT_RIGHT},
    {110, 100, LVCFMT_RIGHT}, {101, 130, LVCFMT_RIGHT},
};

void InsertColumns(HWND page) {
    HWND list = GetDlgItem(page, kList);
    SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_FULLROWSELECT, LVS_EX_FULLROWSELECT);
    SendMessageW(list, LVM_SETIMAGELIST, LVSIL_SMALL, reinterpret_cast<LPARAM>(App().systemSmallImages));
    for (int i = 0; i < static_cast<int>(sizeof kColumns / sizeof kColumns[0]); ++i) {
        wchar_t text[64] = {};
        LoadStringW(App().instance, kColumns[i].text, text, 64);
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_FMT | LVCF_SUBITEM;
        column.fmt = kColumns[i].format;
        column.cx = kColumns[i].width;
        column.pszText = text;
        column.iSubItem = i;
        SendMessageW(list, LVM_INSERTCOLUMNW, i, reinterpret_cast<LPARAM>(&column));
    }
}

const FileNode* TreeItemNode(HWND tree, HTREEITEM item) {
    TVITEMW data{};
    data.mask = TVIF_PARAM | TVIF_HANDLE;
    data.hItem = item;
    if (!SendMessageW(tree, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&data))) return nullptr;
    return reinterpret_cast<const FileNode*>(data.lParam);
}

const FileNode* ListItemNode(int index) {
    if (index < 0 || static_cast<size_t>(index) >= listedRows.size()) return nullptr;
    return listedRows[static_cast<size_t>(index)].node;
}

void ClearList(HWND list) {
    SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
    listedRows.clear();
    ForgetListTexts();
}

HTREEITEM InsertDirectory(HWND tree, HTREEITEM parent, const FileNode* node, bool withImages) {
    TVINSERTSTRUCTA insert{};
    insert.hParent = parent;
    insert.hInsertAfter = TVI_LAST;
    insert.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_CHILDREN;
    if (withImages) {
        insert.item.mask |= TVIF_IMAGE | TVIF_SELECTEDIMAGE;
        insert.item.iImage = kDirectoryImage;
        insert.item.iSelectedImage = kOpenDirectoryImage;
    }
    std::string name = ShownName(mountedReader, node);
    insert.item.pszText = const_cast<char*>(name.c_str());
    insert.item.cChildren = HasSubdirectory(node);
    insert.item.lParam = reinterpret_cast<LPARAM>(node);
    return reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&insert)));
}

void ReleaseReader() {
    if (!mountedReader) return;
    mountedReader->Release();
    delete mountedReader;
    mountedReader = nullptr;
}

void RefreshFilePage(HWND page) {
    // Kept attached for the whole refresh; nothing is sent through it.
    CSptiDevice device;
    device.Attach(App().CurrentDrive, true);
    HWND tree = GetDlgItem(page, kTree);
    HWND list = GetDlgItem(page, kList);
    SendMessageW(tree, TVM_DELETEITEM, 0, reinterpret_cast<LPARAM>(TVI_ROOT));
    ClearList(list);
    // The nodes the target points into go with the reader.
    extractTarget = nullptr;
    ReleaseReader();

    const DriveEntry* entry = SelectedDrive();
    if (!entry) return;
    CUdfReader* reader = new CUdfReader();
    if (!reader->Mount(entry->letter)) {
        reader->Release();
        delete reader;
        return;
    }
    mountedReader = reader;

    HIMAGELIST images = SmallIconImageList();
    HIMAGELIST old = reinterpret_cast<HIMAGELIST>(
        SendMessageW(tree, TVM_SETIMAGELIST, TVSIL_NORMAL, reinterpret_cast<LPARAM>(images)));
    if (treeImages && treeImages != images) ImageList_Destroy(treeImages);
    if (old && old != treeImages && old != images) ImageList_Destroy(old);
    treeImages = images;

    const FileNode* root = reader->root;
    TVINSERTSTRUCTA volume{};
    volume.hParent = TVI_ROOT;
    volume.hInsertAfter = TVI_LAST;
    volume.item.mask = TVIF_TEXT | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_CHILDREN | TVIF_PARAM;
    volume.item.pszText = const_cast<char*>(reader->VolumeName());
    volume.item.iImage = kVolumeImage;
    volume.item.iSelectedImage = kVolumeImage;
    volume.item.cChildren = 1;
    volume.item.lParam = reinterpret_cast<LPARAM>(root);
    HTREEITEM top =
        reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&volume)));
    // The first level keeps the disc's own order.
    for (const FileNode* child = root ? root->firstChild : nullptr; child; child = child->nextSibling)
        if (child->isDirectory) InsertDirectory(tree, top, child, true);
    SendMessageW(tree, TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(top));
    SendMessageW(tree, TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(top));
}

void FillExpandingItem(HWND tree, const NMTREEVIEWW& change) {
    if (!(change.action & TVE_EXPAND)) return;
    HTREEITEM item = change.itemNew.hItem;
    UINT state = static_cast<UINT>(SendMessageW(tree, TVM_GETITEMSTATE, reinterpret_cast<WPARAM>(item), TVIS_EXPANDED));
    if (state & TVIS_EXPANDED) return;
    if (SendMessageW(tree, TVM_GETNEXTITEM, TVGN_CHILD, reinterpret_cast<LPARAM>(item))) return;
    SetCursor(LoadCursorW(nullptr, IDC_WAIT));
    const FileNode* node = TreeItemNode(tree, item);
    if (node && SendMessageW(tree, TVM_GETNEXTITEM, TVGN_PARENT, reinterpret_cast<LPARAM>(item))) {
        for (const FileNode* child = node->firstChild; child; child = child->nextSibling)
            if (child->isDirectory) InsertDirectory(tree, item, child, false);
        // Deeper levels are shown sorted by name.
        SendMessageW(tree, TVM_SORTCHILDREN, 0, reinterpret_cast<LPARAM>(item));
    }
    SetCursor(LoadCursorW(nullptr, IDC_ARROW));
}

// Icons and texts of the rows on show, made as the list asks for them.
struct ListTexts {
    IconCache icons;
    CellTexts texts;
};
std::unique_ptr<ListTexts> listTexts;

void ForgetListTexts() { listTexts.reset(); }

ListTexts& CurrentListTexts() {
    if (!listTexts) listTexts.reset(new ListTexts());
    return *listTexts;
}

std::wstring CellText(const FileListRow& row, int column) {
    CellTexts& texts = CurrentListTexts().texts;
    switch (column) {
    case 0: return ShownText(row.name);
    case 1: return std::wstring(row.lba.begin(), row.lba.end());
    case 2: return texts.ByteSize(row.size);
    case 3: return texts.Grouped(row.size);
    case 4: return texts.Time(row.modified);
    default: return std::wstring();
    }
}

void FillList(HWND page, HTREEITEM selected) {
    HWND tree = GetDlgItem(page, kTree);
    HWND list = GetDlgItem(page, kList);
    SetCursor(LoadCursorW(nullptr, IDC_WAIT));
    SendMessageW(list, WM_SETREDRAW, FALSE, 0);
    ClearList(list);

    const FileNode* directory = nullptr;
    if (selected) {
        if (SendMessageW(tree, TVM_GETNEXTITEM, TVGN_PARENT, reinterpret_cast<LPARAM>(selected)))
            directory = TreeItemNode(tree, selected);
        else if (mountedReader)
            directory = FindPath(*mountedReader, nullptr);
    }
    std::vector<ShownRow> rows = CollectRows(directory, mountedReader);
    listedRows.reserve(rows.size());
    for (uint32_t index : SortedOrder(rows)) listedRows.push_back({rows[index].node, std::move(rows[index].row)});
    SendMessageW(list, LVM_SETITEMCOUNT, listedRows.size(), 0);
    SendMessageW(list, WM_SETREDRAW, TRUE, 0);
    SetCursor(LoadCursorW(nullptr, IDC_ARROW));
}

// The list asks for a row's texts, image and node as it needs them.
void AnswerDisplayInfo(NMLVDISPINFOW& info) {
    LVITEMW& item = info.item;
    if (item.iItem < 0 || static_cast<size_t>(item.iItem) >= listedRows.size()) return;
    const ListedRow& row = listedRows[static_cast<size_t>(item.iItem)];
    if ((item.mask & LVIF_TEXT) && item.pszText && item.cchTextMax > 0)
        lstrcpynW(item.pszText, CellText(row.row, item.iSubItem).c_str(), item.cchTextMax);
    if (item.mask & LVIF_IMAGE) item.iImage = CurrentListTexts().icons.Lookup(row.row);
    if (item.mask & LVIF_PARAM) item.lParam = reinterpret_cast<LPARAM>(row.node);
}

void AnswerDisplayInfo(NMLVDISPINFOA& info) {
    LVITEMA& item = info.item;
    if (item.iItem < 0 || static_cast<size_t>(item.iItem) >= listedRows.size()) return;
    const ListedRow& row = listedRows[static_cast<size_t>(item.iItem)];
    if ((item.mask & LVIF_TEXT) && item.pszText && item.cchTextMax > 0) {
        item.pszText[0] = '\0';
        if (!WideCharToMultiByte(CP_ACP, 0, CellText(row.row, item.iSubItem).c_str(), -1, item.pszText,
                                 item.cchTextMax, nullptr, nullptr))
            item.pszText[item.cchTextMax - 1] = '\0';
    }
    if (item.mask & LVIF_IMAGE) item.iImage = CurrentListTexts().icons.Lookup(row.row);
    if (item.mask & LVIF_PARAM) item.lParam = reinterpret_cast<LPARAM>(row.node);
}

void OpenListedDirectory(HWND page, int index) {
    HWND tree = GetDlgItem(page, kTree);
    const FileNode* node = ListItemNode(index);
    if (!node || !node->isDirectory) return;
    HTREEITEM selected = reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_GETNEXTITEM, TVGN_CARET, 0));
    if (!selected) return;
    SendMessageW(tree, TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(selected));
    for (HTREEITEM child =
             reinterpret_cast<HTREEITEM>(SendMessageW(tree, TVM_GETNEXTITEM, TVGN_CHILD, reinterpret_cast<LPARAM>(selected)));
         child; child = reinterpret_cast<HTREEITEM>(
                    SendMessageW(tree, TVM_GETNEXTITEM, TVGN_NEXT, reinterpret_cast<LPARAM>(child)))) {
        if (TreeItemNode(tree, child) != node) continue;
        SendMessageW(tree, TVM_EXPAND, TVE_EXPAND, reinterpret_cast<LPARAM>(child));
        SendMessageW(tree, TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(child));
        return;
    }
}

void ShowPopup(HWND page, const NMITEMACTIVATE& click) {
    const FileNode* node = ListItemNode(click.iItem);
    if (!node || node->isDirectory) return;
    extractTarget = node;
    POINT at = click.ptAction;
    ClientToScreen(click.hdr.hwndFrom, &at);
    HMENU menu = LoadMenuW(App().instance, MAKEINTRESOURCEW(kPopupMenu));
    if (!menu) return;
    TrackPopupMenu(GetSubMenu(menu, 0), 0, at.x, at.y, 0, page, nullptr);
    DestroyMenu(menu);
}

bool AskSavePath(HWND page, const char* filter, char (&path)[MAX_PATH]) {
    OPENFILENAMEA dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = page;
    dialog.lpstrFilter = filter;
    dialog.lpstrFile = path;
    dialog.nMaxFile = MAX_PATH;
    dialog.Flags = OFN_OVERWRITEPROMPT | OFN_HIDEREADONLY | OFN_PATHMUSTEXIST | OFN_EXPLORER;
    return GetSaveFileNameA(&dialog) != FALSE;
}

void ExtractTarget(HWND page) {
    if (!extractTarget || !mountedReader) return;
    char path[MAX_PATH] = {};
    // Only the name's last component, in characters a file name may hold:
    // a disc name must not choose the folder the copy goes to.
    lstrcpynA(path, SaveNameFor(ShownName(mountedReader, extractTarget)).c_str(), MAX_PATH);
    if (!AskSavePath(page, "All Files (*.*)\0*.*\0", path)) return;
    // A copy that meets an unreadable sector removes itself; nothing is shown.
    ExtractFile(*mountedReader, extractTarget, path);
}

void ExportListing(HWND page) {
    char path[MAX_PATH] = "filesystem.txt";
    if (!AskSavePath(page, "Text (*.txt)\0*.txt\0", path)) return;
    // The listing already holds the CR LF line ends that text mode would
    // write, so its bytes go out unchanged, line by line as it is made.
    FILE* out = std::fopen(path, "wb");
    if (!out) return;
    CFileSink sink(out);
    WriteFileSystemListing(mountedReader, sink);
    std::fclose(out);
}

}  // namespace

CUdfReader* FilePageReader() { return mountedReader; }

const FileNode* FilePageRowNode(int index) { return ListItemNode(index); }

INT_PTR CALLBACK FilePageProcedure(HWND page, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG:
        InsertColumns(page);
        RefreshFilePage(page);
        return TRUE;
    case WM_APP_REFRESH:
        RefreshFilePage(page);
        return TRUE;
    case WM_DESTROY:
        // The nodes and the drive handle go with the page, not with the
        // next page that may be made.
        SendDlgItemMessageW(page, kTree, TVM_SETIMAGELIST, TVSIL_NORMAL, 0);
        if (treeImages) ImageList_Destroy(treeImages);
        treeImages = nullptr;
        extractTarget = nullptr;
        listedRows.clear();
        ForgetListTexts();
        ReleaseReader();
        return FALSE;
    case WM_NOTIFY: {
        const NMHDR* header = reinterpret_cast<const NMHDR*>(lParam);
        if (header->idFrom == kTree) {
            const NMTREEVIEWW* change = reinterpret_cast<const NMTREEVIEWW*>(lParam);
            if (header->code == TVN_ITEMEXPANDINGW) FillExpandingItem(header->hwndFrom, *change);
            else if (header->code == TVN_SELCHANGEDW) FillList(page, change->itemNew.hItem);
        } else if (header->idFrom == kList) {
            const NMITEMACTIVATE* click = reinterpret_cast<const NMITEMACTIVATE*>(lParam);
            if (header->code == static_cast<UINT>(NM_DBLCLK)) OpenListedDirectory(page, click->iItem);
            else if (header->code == static_cast<UINT>(NM_RCLICK)) ShowPopup(page, *click);
            else if (header->code == LVN_GETDISPINFOW) AnswerDisplayInfo(*reinterpret_cast<NMLVDISPINFOW*>(lParam));
            else if (header->code == LVN_GETDISPINFOA) AnswerDisplayInfo(*reinterpret_cast<NMLVDISPINFOA*>(lParam));
        }
        SetWindowLongPtrW(page, DWLP_MSGRESULT, 0);
        return TRUE;
    }
    case WM_COMMAND:
        switch (LOWORD(wParam)) {
        case kExport:
            ExportListing(page);
            return TRUE;
        case kExtract:
            ExtractTarget(page);
            return TRUE;
        default:
            break;
        }
        [[fallthrough]];
    default: {
        INT_PTR result = 0;
        return PageSkeleton(page, message, wParam, lParam, nullptr, result) ? result : 0;
    }
    }
}
