// flaColorXForm: per-instance colour transform, multipliers (8.8 fixed, 256 = 1.0)
// and offsets for red, green, blue and alpha, written as CXFORMWITHALPHA.
#pragma once

class flaDump;
class flaRead;

class flaColorXForm {
public:
    // Both groups off; multipliers 1 (not 256) and offsets 0.
    flaColorXForm() = default;
    // isMult when any multiplier differs from 256, isAdd when any offset is not 0.
    flaColorXForm(short mR, short mG, short mB, short mA, short aR, short aG, short aB, short aA);

    bool GetIsMult() const { return isMult; }
    bool GetIsAdd() const { return isAdd; }
    short GetmR() const { return mR; }
    short GetmG() const { return mG; }
    short GetmB() const { return mB; }
    short GetmA() const { return mA; }
    short GetaR() const { return aR; }
    short GetaG() const { return aG; }
    short GetaB() const { return aB; }
    short GetaA() const { return aA; }

    void Reset() { isMult = isAdd = false; }
    // Combines other into this transform in wrapping 16-bit arithmetic, without
    // rescaling products by 256.
    void Compose(const flaColorXForm& other);
    bool Equal(const flaColorXForm& other) const;
    bool operator==(const flaColorXForm& o) const { return Equal(o); }
    bool operator!=(const flaColorXForm& o) const { return !Equal(o); }

    bool DumpInFile(flaDump& dump) const;
    bool ReadFromFile(flaRead& reader, bool withAlpha);

private:
    bool isMult = false;
    bool isAdd = false;
    short mR = 1, mG = 1, mB = 1, mA = 1;
    short aR = 0, aG = 0, aB = 0, aA = 0;
};
