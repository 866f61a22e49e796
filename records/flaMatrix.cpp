#include "flio/flaMatrix.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "records/flaRecordBits.h"

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

bool flaMatrix::DumpInFile(flaDump& dump) const {
    flaRecordBits::Matrix(dump, *this, dump.GetFrameSizeX(), dump.GetWriteOptions().exactTwips);
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
