#pragma once
// Hosts the platform's web browser control in place inside a page: a storage
// that OleCreate needs but nothing uses, and one site object that is client
// site, in-place frame and in-place site at once. Neither counts references.

#include <windows.h>
#include <ole2.h>
#include <exdisp.h>

class CStorage : public IStorage {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE CreateStream(const OLECHAR*, DWORD, DWORD, DWORD, IStream**) override;
    HRESULT STDMETHODCALLTYPE OpenStream(const OLECHAR*, void*, DWORD, DWORD, IStream**) override;
    HRESULT STDMETHODCALLTYPE CreateStorage(const OLECHAR*, DWORD, DWORD, DWORD, IStorage**) override;
    HRESULT STDMETHODCALLTYPE OpenStorage(const OLECHAR*, IStorage*, DWORD, SNB, DWORD, IStorage**) override;
    HRESULT STDMETHODCALLTYPE CopyTo(DWORD, const IID*, SNB, IStorage*) override;
    HRESULT STDMETHODCALLTYPE MoveElementTo(const OLECHAR*, IStorage*, const OLECHAR*, DWORD) override;
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override;
    HRESULT STDMETHODCALLTYPE Revert() override;
    HRESULT STDMETHODCALLTYPE EnumElements(DWORD, void*, DWORD, IEnumSTATSTG**) override;
    HRESULT STDMETHODCALLTYPE DestroyElement(const OLECHAR*) override;
    HRESULT STDMETHODCALLTYPE RenameElement(const OLECHAR*, const OLECHAR*) override;
    HRESULT STDMETHODCALLTYPE SetElementTimes(const OLECHAR*, const FILETIME*, const FILETIME*,
                                              const FILETIME*) override;
    HRESULT STDMETHODCALLTYPE SetClass(REFCLSID) override;
    HRESULT STDMETHODCALLTYPE SetStateBits(DWORD, DWORD) override;
    HRESULT STDMETHODCALLTYPE Stat(STATSTG*, DWORD) override;
};

class CClientSite final : public IOleClientSite, public IOleInPlaceFrame, public IOleInPlaceSite {
public:
    explicit CClientSite(HWND pageWindow) : page(pageWindow) {}

    // IUnknown, shared by the three interfaces.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    // IOleClientSite
    HRESULT STDMETHODCALLTYPE SaveObject() override;
    HRESULT STDMETHODCALLTYPE GetMoniker(DWORD, DWORD, IMoniker**) override;
    HRESULT STDMETHODCALLTYPE GetContainer(IOleContainer**) override;
    HRESULT STDMETHODCALLTYPE ShowObject() override;
    HRESULT STDMETHODCALLTYPE OnShowWindow(BOOL) override;
    HRESULT STDMETHODCALLTYPE RequestNewObjectLayout() override;
    // IOleWindow, for the frame and the in-place site alike.
    HRESULT STDMETHODCALLTYPE GetWindow(HWND*) override;
    HRESULT STDMETHODCALLTYPE ContextSensitiveHelp(BOOL) override;
    // IOleInPlaceUIWindow and IOleInPlaceFrame
    HRESULT STDMETHODCALLTYPE GetBorder(LPRECT) override;
    HRESULT STDMETHODCALLTYPE RequestBorderSpace(LPCBORDERWIDTHS) override;
    HRESULT STDMETHODCALLTYPE SetBorderSpace(LPCBORDERWIDTHS) override;
    HRESULT STDMETHODCALLTYPE SetActiveObject(IOleInPlaceActiveObject*, LPCOLESTR) override;
    HRESULT STDMETHODCALLTYPE InsertMenus(HMENU, LPOLEMENUGROUPWIDTHS) override;
    HRESULT STDMETHODCALLTYPE SetMenu(HMENU, HOLEMENU, HWND) override;
    HRESULT STDMETHODCALLTYPE RemoveMenus(HMENU) override;
    HRESULT STDMETHODCALLTYPE SetStatusText(LPCOLESTR) override;
    HRESULT STDMETHODCALLTYPE EnableModeless(BOOL) override;
    HRESULT STDMETHODCALLTYPE TranslateAccelerator(LPMSG, WORD) override;
    // IOleInPlaceSite
    HRESULT STDMETHODCALLTYPE CanInPlaceActivate() override;
    HRESULT STDMETHODCALLTYPE OnInPlaceActivate() override;
    HRESULT STDMETHODCALLTYPE OnUIActivate() override;
    HRESULT STDMETHODCALLTYPE GetWindowContext(IOleInPlaceFrame**, IOleInPlaceUIWindow**, LPRECT, LPRECT,
                                               LPOLEINPLACEFRAMEINFO) override;
    HRESULT STDMETHODCALLTYPE Scroll(SIZE) override;
    HRESULT STDMETHODCALLTYPE OnUIDeactivate(BOOL) override;
    HRESULT STDMETHODCALLTYPE OnInPlaceDeactivate() override;
    HRESULT STDMETHODCALLTYPE DiscardUndoState() override;
    HRESULT STDMETHODCALLTYPE DeactivateAndUndo() override;
    HRESULT STDMETHODCALLTYPE OnPosRectChange(LPCRECT) override;

    HWND page;
    IOleObject* browser = nullptr;
};

// Creates the browser in `page` over the rectangle of `placeholder` (or the
// whole page) and stores it in *holder. False when it cannot be made.
bool CreateBrowser(IOleObject** holder, HWND page, HWND placeholder);
// Opens `path` (a plain file path) in the browser of *holder.
bool NavigateBrowser(IOleObject** holder, const wchar_t* path);
void CloseBrowser(IOleObject** holder);
