#include "flio/flaMatrix.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "io/flaConvert.h"

using flio_detail::TruncToInt32;

void flaMatrix::Multiply(const flaMatrix& m1, const flaMatrix& m2) {
    A = m1.A * m2.A + m1.B * m2.C;
    B = m1.A * m2.B + m1.B * m2.D;
    C = m1.C * m2.A + m1.D * m2.C;
    D = m1.C * m2.B + m1.D * m2.D;
    TX = m1.TX * m2.A + m1.TY * m2.C + m2.TX;
    TY = m1.TX * m2.B + m1.TY * m2.D + m2.TY;
}

bool flaMatrix::operator==(const flaMatrix& o) const {
    const float mine[6] = {A, B, C, D, TX, TY};
    const float theirs[6] = {o.A, o.B, o.C, o.D, o.TX, o.TY};
    return std::memcmp(mine, theirs, sizeof mine) == 0;
}

namespace {

// A pair of signed fields preceded by their 5-bit width, the width taken from the
// larger magnitude of the two (as a double, then truncated) plus a sign bit.
void WritePair(flaDump& dump, double first, double second) {
    const std::int32_t a = TruncToInt32(first);
    const std::int32_t b = TruncToInt32(second);
    const double larger = std::fabs(first) > std::fabs(second) ? std::fabs(first) : std::fabs(second);
    const int nbits = flaDump::GetSignedBitNumber(TruncToInt32(larger));
    dump.Bits(static_cast<std::uint32_t>(nbits), 5);
    dump.Bits(static_cast<std::uint32_t>(a), nbits);
    dump.Bits(static_cast<std::uint32_t>(b), nbits);
}

}  // namespace

bool flaMatrix::DumpInFile(flaDump& dump) const {
    const double a = static_cast<double>(A) * 65536.0;
    const double d = static_cast<double>(D) * 65536.0;
    if (TruncToInt32(a) == 65536 && TruncToInt32(d) == 65536) {
        dump.Bit(false);
    } else {
        dump.Bit(true);
        WritePair(dump, a, d);
    }
    const double b = static_cast<double>(B) * 65536.0;
    const double c = static_cast<double>(C) * 65536.0;
    if (TruncToInt32(b) == 0 && TruncToInt32(c) == 0) {
        dump.Bit(false);
    } else {
        dump.Bit(true);
        WritePair(dump, b, c);
    }
    const double k = static_cast<double>(dump.GetFrameSizeX());
    const double tx20 = static_cast<double>(TX) * 20.0;
    const double ty20 = static_cast<double>(TY) * 20.0;
    if (dump.GetWriteOptions().exactTwips)  // to the nearest twip, not toward zero
        WritePair(dump, std::nearbyint(k * tx20), std::nearbyint(k * ty20));
    else
        WritePair(dump, k * tx20, k * ty20);
    dump.PadLastByte();
    return true;
}

bool flaMatrix::ReadFromFile(flaRead& reader) {
    MATRIX m;
    reader.GetMatrix(&m);
    A = static_cast<float>(m.scaleX * 1.52587890625e-5);
    B = static_cast<float>(m.rotateSkew0 * 1.52587890625e-5);
    C = static_cast<float>(m.rotateSkew1 * 1.52587890625e-5);
    D = static_cast<float>(m.scaleY * 1.52587890625e-5);
    // Twips times the import factor, both as floats. Where the factor 1 / (w x 20)
    // rounds down (a 550 or 640 pixel stage), the writer's truncation gives such a
    // value back one twip nearer zero.
    TX = static_cast<float>(m.translateX) * reader.GetScaling();
    TY = static_cast<float>(m.translateY) * reader.GetScaling();
    return true;
}
