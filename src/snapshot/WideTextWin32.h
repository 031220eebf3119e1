#pragma once
// The platform's UTF-16 strings are wchar_t; the collectors keep char16_t.

#include <cstddef>
#include <string>

#include "snapshot/XmlDocument.h"

inline const char16_t* AsU16(const wchar_t* text) { return reinterpret_cast<const char16_t*>(text); }
inline const wchar_t* AsWide(const char16_t* text) { return reinterpret_cast<const wchar_t*>(text); }

inline std::u16string UpToNul(const wchar_t* text, size_t limit) { return UpToNul(AsU16(text), limit); }
