#include "flio/flaRecords.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "flio/flaDump.h"
#include "io/flaConvert.h"

using flio_detail::RoundBySign;

void FLIO::flaRGBA::DumpInFile(flaDump& dump) const {
    dump.DataU8(r);
    dump.DataU8(g);
    dump.DataU8(b);
    dump.DataU8(a);
}

double flaPoint::GetDist(flaPoint* other) {
    if (!other) return 0.0;
    const double dx = static_cast<double>(other->x - x);
    const double dy = static_cast<double>(other->y - y);
    return std::sqrt(dx * dx + dy * dy);
}

double flaPoint::GetAngle(flaPoint* a, flaPoint* b) {
    const double ux = static_cast<double>(a->x - b->x), uy = static_cast<double>(a->y - b->y);
    const double wx = static_cast<double>(x - b->x), wy = static_cast<double>(y - b->y);
    if (ux == 0.0 && uy == 0.0) return 1.0;
    if (wx == 0.0 && wy == 0.0) return 0.0;
    const double tu = std::atan2(uy, ux);
    const double tw = std::atan2(wy, wx);
    double d = std::fabs(tu - tw);
    if (d > 3.141592654) d = 6.283185308 - d;
    return d - 3.141592654;
}

double flaPoint::PointToLineDist(flaPoint* a, flaPoint* b) {
    if (a->x == b->x) return std::fabs(x - b->x);
    const float m = (b->y - a->y) / (b->x - a->x);
    const double n = -1.0 / m;
    const double c1 = y - x * n;
    const double c2 = b->y - b->x * m;
    const float xi = static_cast<float>((c1 - c2) / (m - n));
    const float yi = static_cast<float>(xi * n + c1);
    const float dx = xi - x, dy = yi - y;
    return std::sqrt(static_cast<double>(dx) * dx + static_cast<double>(dy) * dy);
}

void flaBoundingBox::DumpInFile(flaDump& dump, float maxLineWidth) const {
    const double k = static_cast<double>(dump.GetFrameSizeX()) * 20.0;
    const double h = static_cast<double>(maxLineWidth) * 0.5 * k;
    dump.DataRect(RoundBySign(xMin * k - h, xMin), RoundBySign(xMax * k + h, xMax), RoundBySign(yMin * k - h, yMin),
                  RoundBySign(yMax * k + h, yMax));
}
