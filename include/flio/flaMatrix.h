// flaMatrix: the 2-D affine transform (x' = A x + C y + TX, y' = B x + D y + TY),
// written as the SWF MATRIX record.
#pragma once

#include "flio/flaRecords.h"

class flaDump;
class flaRead;

class flaMatrix {
public:
    flaMatrix() = default;
    flaMatrix(float a, float b, float c, float d, float tx, float ty) : A(a), B(b), C(c), D(d), TX(tx), TY(ty) {}

    float GetA() const { return A; }
    float GetB() const { return B; }
    float GetC() const { return C; }
    float GetD() const { return D; }
    float GetTX() const { return TX; }
    float GetTY() const { return TY; }
    void SetA(float v) { A = v; }
    void SetB(float v) { B = v; }
    void SetC(float v) { C = v; }
    void SetD(float v) { D = v; }
    void SetTX(float v) { TX = v; }
    void SetTY(float v) { TY = v; }

    void Identity() { A = D = 1.0f; B = C = TX = TY = 0.0f; }
    // this = m1 followed by m2; this must not alias either argument.
    void Multiply(const flaMatrix& m1, const flaMatrix& m2);
    flaPoint Transform(const flaPoint& p) const {
        return flaPoint(A * p.x + C * p.y + TX, B * p.x + D * p.y + TY);
    }
    void TransformInPlace(flaPoint& p) const { p = Transform(p); }

    // Bitwise comparison of the six floats: 0.0 and -0.0 differ.
    bool operator==(const flaMatrix& o) const;
    bool operator!=(const flaMatrix& o) const { return !(*this == o); }

    bool DumpInFile(flaDump& dump) const;
    bool ReadFromFile(flaRead& reader);

private:
    float A = 1.0f, B = 0.0f, C = 0.0f, D = 1.0f, TX = 0.0f, TY = 0.0f;
};
