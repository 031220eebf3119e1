#pragma once
// The platform's side of the computer sections: small functions that ask
// Windows and hand back the answers, and the collectors of the snapshot table
// that feed those answers to the builders of CollectComputer.

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "snapshot/CollectComputer.h"

// A string value of an open key read into a 1024-byte buffer with the given
// byte count (never more than the buffer); empty when the query fails.
std::optional<std::u16string> QueryRegistryString(HKEY key, const wchar_t* name, DWORD byteCount);

// The operating-system facts; the two key paths are under `root` (the
// collector passes HKEY_LOCAL_MACHINE and the system's own paths).
SystemAnswers ReadSystemAnswers(HKEY root, const wchar_t* versionKey, const wchar_t* browserKey);
// The domain or workgroup this computer is joined to, when it is told.
std::optional<std::u16string> ReadJoinedName();

HardwareAnswers ReadHardwareAnswers(HKEY root, const wchar_t* processorKey);
std::vector<DiskAnswer> ReadDiskAnswers();

// The software builder over a key that is open; the key stays open.
class RegistrySoftware final : public SoftwareRegistry {
public:
    explicit RegistrySoftware(HKEY uninstall) : key(uninstall) {}
    long EnumEntry(uint32_t index, char16_t* name, uint32_t nameChars) override;
    bool OpenEntry(const char16_t* name) override;
    long QueryValue(const char16_t* value, void* buffer, uint32_t* bytes) override;
    void CloseEntry() override;

private:
    HKEY key;
    HKEY entry = nullptr;
};

// `software_info` from the uninstall key `subkey` of `root`; false, and no
// section, when the key does not open.
bool CollectSoftwareFrom(XmlNode* root, HKEY registryRoot, const wchar_t* subkey);

// The snapshot table's collectors.
void CollectSystem(XmlNode* root, int);
void CollectSoftware(XmlNode* root, int);
void CollectHardware(XmlNode* root, int);
void CollectDisks(XmlNode* root, int);
