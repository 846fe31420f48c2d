// SPDX-License-Identifier: LGPL-2.1-or-later
#include "mpegcore/BaseMpegParser.h"

namespace mpegcore
{
#if defined(__GNUC__) && !defined(__clang__)
// GCC tells which function a virtual call would run (its manual, "Extracting the Function Pointer from a Bound Pointer
// to Member Function").
#pragma GCC diagnostic ignored "-Wpmf-conversions"
#pragma GCC diagnostic ignored "-Wpedantic"

namespace
{
/// True when a call of Function, a virtual member of CBaseMpegParser, would run another function than that one. For a
/// constant in place of the template argument GCC would forget that it is virtual.
template <auto Function>
bool is_overridden(CBaseMpegParser& object)
{
    using address = void (*)();
    return reinterpret_cast<address>(object.*Function) != reinterpret_cast<address>(Function);
}
} // namespace

bool CBaseMpegParser::reports_units()
{
    using unit_form = void (CBaseMpegParser::*)(unsigned short, CBaseStreamTypeMap*, unsigned char*, unsigned long);
    return is_overridden<static_cast<unit_form>(&CBaseMpegParser::OnPES)>(*this);
}
#else
bool CBaseMpegParser::reports_units() { return true; }
#endif
} // namespace mpegcore
