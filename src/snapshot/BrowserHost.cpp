#include "snapshot/BrowserHost.h"

#include <oleauto.h>

#include <new>

namespace {

// Spelled out here rather than taken from the import libraries, whose copies
// differ between SDKs.
const CLSID kClsidWebBrowser = {0x8856F961, 0x340A, 0x11D0, {0xA9, 0x6B, 0x00, 0xC0, 0x4F, 0xD7, 0x05, 0xA2}};
const IID kIidWebBrowser2 = {0xD30C1661, 0xCDAF, 0x11D0, {0x8A, 0x3E, 0x00, 0xC0, 0x4F, 0xC9, 0xE2, 0x6E}};
const IID kIidOleInPlaceObject = {0x00000113, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

}  // namespace

// The storage only has to exist: nothing is ever stored in it.
HRESULT CStorage::QueryInterface(REFIID, void**) { return E_NOTIMPL; }
ULONG CStorage::AddRef() { return 1; }
ULONG CStorage::Release() { return 0; }
HRESULT CStorage::CreateStream(const OLECHAR*, DWORD, DWORD, DWORD, IStream**) { return E_NOTIMPL; }
HRESULT CStorage::OpenStream(const OLECHAR*, void*, DWORD, DWORD, IStream**) { return E_NOTIMPL; }
HRESULT CStorage::CreateStorage(const OLECHAR*, DWORD, DWORD, DWORD, IStorage**) { return E_NOTIMPL; }
HRESULT CStorage::OpenStorage(const OLECHAR*, IStorage*, DWORD, SNB, DWORD, IStorage**) { return E_NOTIMPL; }
HRESULT CStorage::CopyTo(DWORD, const IID*, SNB, IStorage*) { return E_NOTIMPL; }
HRESULT CStorage::MoveElementTo(const OLECHAR*, IStorage*, const OLECHAR*, DWORD) { return E_NOTIMPL; }
HRESULT CStorage::Commit(DWORD) { return E_NOTIMPL; }
HRESULT CStorage::Revert() { return E_NOTIMPL; }
HRESULT CStorage::EnumElements(DWORD, void*, DWORD, IEnumSTATSTG**) { return E_NOTIMPL; }
HRESULT CStorage::DestroyElement(const OLECHAR*) { return E_NOTIMPL; }
HRESULT CStorage::RenameElement(const OLECHAR*, const OLECHAR*) { return E_NOTIMPL; }
HRESULT CStorage::SetElementTimes(const OLECHAR*, const FILETIME*, const FILETIME*, const FILETIME*) {
    return E_NOTIMPL;
}
HRESULT CStorage::SetClass(REFCLSID) { return S_OK; }
HRESULT CStorage::SetStateBits(DWORD, DWORD) { return E_NOTIMPL; }
HRESULT CStorage::Stat(STATSTG*, DWORD) { return E_NOTIMPL; }

// The frame is not handed out here: the browser reaches it through
// GetWindowContext only.
HRESULT CClientSite::QueryInterface(REFIID riid, void** object) {
    if (!object) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IOleClientSite)) {
        *object = static_cast<IOleClientSite*>(this);
        return S_OK;
    }
    if (IsEqualIID(riid, IID_IOleInPlaceSite)) {
        *object = static_cast<IOleInPlaceSite*>(this);
        return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
}
ULONG CClientSite::AddRef() { return 1; }
ULONG CClientSite::Release() { return 0; }

HRESULT CClientSite::SaveObject() { return E_NOTIMPL; }
HRESULT CClientSite::GetMoniker(DWORD, DWORD, IMoniker**) { return E_NOTIMPL; }
HRESULT CClientSite::GetContainer(IOleContainer** container) {
    if (container) *container = nullptr;
    return E_NOINTERFACE;
}
HRESULT CClientSite::ShowObject() { return S_OK; }
HRESULT CClientSite::OnShowWindow(BOOL) { return E_NOTIMPL; }
HRESULT CClientSite::RequestNewObjectLayout() { return E_NOTIMPL; }

HRESULT CClientSite::GetWindow(HWND* window) {
    if (window) *window = page;
    return S_OK;
}
HRESULT CClientSite::ContextSensitiveHelp(BOOL) { return E_NOTIMPL; }
HRESULT CClientSite::GetBorder(LPRECT) { return E_NOTIMPL; }
HRESULT CClientSite::RequestBorderSpace(LPCBORDERWIDTHS) { return E_NOTIMPL; }
HRESULT CClientSite::SetBorderSpace(LPCBORDERWIDTHS) { return E_NOTIMPL; }
HRESULT CClientSite::SetActiveObject(IOleInPlaceActiveObject*, LPCOLESTR) { return S_OK; }
HRESULT CClientSite::InsertMenus(HMENU, LPOLEMENUGROUPWIDTHS) { return E_NOTIMPL; }
HRESULT CClientSite::SetMenu(HMENU, HOLEMENU, HWND) { return S_OK; }
HRESULT CClientSite::RemoveMenus(HMENU) { return E_NOTIMPL; }
HRESULT CClientSite::SetStatusText(LPCOLESTR) { return S_OK; }
HRESULT CClientSite::EnableModeless(BOOL) { return S_OK; }
HRESULT CClientSite::TranslateAccelerator(LPMSG, WORD) { return E_NOTIMPL; }

HRESULT CClientSite::CanInPlaceActivate() { return S_OK; }
HRESULT CClientSite::OnInPlaceActivate() { return S_OK; }
HRESULT CClientSite::OnUIActivate() { return S_OK; }

// The rectangles stay as the caller gave them: the browser is placed by
// DoVerb and the four position calls, not from here.
HRESULT CClientSite::GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document, LPRECT, LPRECT,
                                      LPOLEINPLACEFRAMEINFO info) {
    if (frame) *frame = static_cast<IOleInPlaceFrame*>(this);
    if (document) *document = nullptr;
    if (info) {
        info->fMDIApp = FALSE;
        info->hwndFrame = page;
        info->haccel = nullptr;
        info->cAccelEntries = 0;
    }
    return S_OK;
}
HRESULT CClientSite::Scroll(SIZE) { return E_NOTIMPL; }
HRESULT CClientSite::OnUIDeactivate(BOOL) { return S_OK; }
HRESULT CClientSite::OnInPlaceDeactivate() { return S_OK; }
HRESULT CClientSite::DiscardUndoState() { return E_NOTIMPL; }
HRESULT CClientSite::DeactivateAndUndo() { return E_NOTIMPL; }

HRESULT CClientSite::OnPosRectChange(LPCRECT rect) {
    IOleInPlaceObject* inPlace = nullptr;
    if (browser && SUCCEEDED(browser->QueryInterface(kIidOleInPlaceObject, reinterpret_cast<void**>(&inPlace))) &&
        inPlace) {
        inPlace->SetObjectRects(rect, rect);
        inPlace->Release();
    }
    return S_OK;
}

bool CreateBrowser(IOleObject** holder, HWND page, HWND placeholder) {
    if (!holder) return false;
    CStorage storage;
    auto* site = new (std::nothrow) CClientSite(page);
    if (!site) return false;
    if (FAILED(OleCreate(kClsidWebBrowser, IID_IOleObject, OLERENDER_DRAW, nullptr,
                         static_cast<IOleClientSite*>(site), &storage, reinterpret_cast<void**>(holder))) ||
        !*holder)
        return false;
    IOleObject* browser = *holder;
    site->browser = browser;
    browser->SetHostNames(L"tinywebbrowser", nullptr);

    RECT rect{};
    if (placeholder) {
        GetClientRect(placeholder, &rect);
        MapWindowPoints(placeholder, page, reinterpret_cast<POINT*>(&rect), 2);
    } else {
        GetClientRect(page, &rect);
    }

    if (SUCCEEDED(OleSetContainedObject(browser, TRUE)) &&
        SUCCEEDED(browser->DoVerb(OLEIVERB_SHOW, nullptr, static_cast<IOleClientSite*>(site), -1, page, &rect))) {
        IWebBrowser2* web = nullptr;
        if (SUCCEEDED(browser->QueryInterface(kIidWebBrowser2, reinterpret_cast<void**>(&web))) && web) {
            web->put_Left(rect.left);
            web->put_Top(rect.top);
            web->put_Width(rect.right - rect.left);
            web->put_Height(rect.bottom - rect.top);
            web->Release();
            return true;
        }
    }
    // Closed before its site goes, and dropped from the holder, so that
    // nothing later talks to a browser whose site no longer exists.
    browser->Close(OLECLOSE_NOSAVE);
    browser->Release();
    *holder = nullptr;
    delete site;
    return false;
}

bool NavigateBrowser(IOleObject** holder, const wchar_t* path) {
    if (!holder || !*holder) return false;
    IWebBrowser2* web = nullptr;
    if (FAILED((*holder)->QueryInterface(kIidWebBrowser2, reinterpret_cast<void**>(&web))) || !web) return false;
    VARIANT url;
    VariantInit(&url);
    url.vt = VT_BSTR;
    url.bstrVal = SysAllocString(path);
    if (!url.bstrVal) {
        web->Release();
        return false;
    }
    web->Navigate2(&url, nullptr, nullptr, nullptr, nullptr);
    VariantClear(&url);
    web->Release();
    return true;
}

void CloseBrowser(IOleObject** holder) {
    if (!holder || !*holder) return;
    (*holder)->Close(OLECLOSE_NOSAVE);
    (*holder)->Release();
}
