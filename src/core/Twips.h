#pragma once

#include <QtGlobal>

// Window and control lengths are kept in twips, the unit of the stored positions:
// 15 twips make one pixel at 96 dpi.
namespace Twips {
inline constexpr double PerPixel = 15.0;

inline int toPixels(double twips)
{
    return qRound(twips / PerPixel);
}

inline double fromPixels(int pixels)
{
    return pixels * PerPixel;
}
} // namespace Twips
