// Upgrade codes of the products that the agent looks for.
#pragma once

namespace Halvard::Discovery {

inline constexpr wchar_t kKelvaneServer55[] = L"{A0B1C2D3-1111-4A11-8A11-0000000000A1}";
inline constexpr wchar_t kSingleSignOn51[] = L"{A0B1C2D3-2222-4A22-8A22-0000000000B2}";
inline constexpr wchar_t kSingleSignOn55[] = L"{A0B1C2D3-3333-4A33-8A33-0000000000C3}";
/// The installer that carries Kelvane Server, Belvar Controller or both.
inline constexpr wchar_t kPlatformInstaller[] = L"{A0B1C2D3-0000-FFFF-0011-0000000000D4}";
inline constexpr wchar_t kTarmisUpdateManager[] = L"{A0B1C2D3-5555-4A55-8A55-0000000000E5}";

inline constexpr wchar_t kLedgerService[] = L"{A0B1C2D3-6666-4A66-8A66-0000000000F6}";
inline constexpr wchar_t kBootCourier[] = L"{A0B1C2D3-7777-4A77-8A77-000000000A07}";
inline constexpr wchar_t kHostcoreCrashSink[] = L"{A0B1C2D3-8888-4A88-8A88-000000000B08}";
inline constexpr wchar_t kIdentityRelay[] = L"{A0B1C2D3-9999-4A99-8A99-000000000C09}";
inline constexpr wchar_t kConsolePortal[] = L"{A0B1C2D3-AAAA-4AAA-8AAA-000000000D0A}";

/// The property of an installed product that tells its version, such as "5.5.0.2001466".
inline constexpr wchar_t kVersionString[] = L"VersionString";

}  // namespace Halvard::Discovery
