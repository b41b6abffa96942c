// Basic types of the message structures and interfaces.
#pragma once

#include <cstdint>
#include <string>

typedef std::uint8_t BYTE;
typedef std::uint16_t WORD;
typedef std::uint32_t DWORD;  // 32 bits on every system: message records travel between plug-ins by value

/// One UTF-16 code unit. Numbers, contents and times cross the interfaces as zero-terminated strings of it.
typedef char16_t VELK_wchar_t;
typedef std::basic_string<VELK_wchar_t> VELK_wstring;

/// Index of a message in a device memory.
typedef DWORD MSG_HANDLE;
/// One cell-broadcast data coding scheme value (3GPP TS 23.038, 5).
typedef DWORD CMS_DCS;
