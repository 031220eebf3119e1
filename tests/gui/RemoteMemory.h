#pragma once
// Memory inside the program under test, for the control messages whose
// arguments are pointers (the system marshals only the classic ones).

#include <windows.h>

#include <cstring>

class RemoteMemory {
public:
    RemoteMemory(HWND window, SIZE_T bytes) : size(bytes) {
        DWORD pid = 0;
        GetWindowThreadProcessId(window, &pid);
        process = OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE, FALSE, pid);
        if (process) address = VirtualAllocEx(process, nullptr, bytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    }
    ~RemoteMemory() {
        if (address) VirtualFreeEx(process, address, 0, MEM_RELEASE);
        if (process) CloseHandle(process);
    }
    RemoteMemory(const RemoteMemory&) = delete;
    RemoteMemory& operator=(const RemoteMemory&) = delete;

    bool Ok() const { return address != nullptr; }
    BYTE* At(SIZE_T offset) const { return static_cast<BYTE*>(address) + offset; }
    bool Write(SIZE_T offset, const void* data, SIZE_T n) {
        return offset + n <= size && WriteProcessMemory(process, At(offset), data, n, nullptr);
    }
    bool Read(SIZE_T offset, void* data, SIZE_T n) const {
        return offset + n <= size && ReadProcessMemory(process, At(offset), data, n, nullptr);
    }

private:
    HANDLE process = nullptr;
    void* address = nullptr;
    SIZE_T size;
};
