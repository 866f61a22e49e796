#include "flio/flaColorXForm.h"

#include <cstdlib>

#include "flio/flaDump.h"
#include "flio/flaRead.h"
#include "records/flaRecordBits.h"

flaColorXForm::flaColorXForm(short mR_, short mG_, short mB_, short mA_, short aR_, short aG_, short aB_,
                             short aA_)
    : isMult(mR_ != 256 || mG_ != 256 || mB_ != 256 || mA_ != 256),
      isAdd(aR_ != 0 || aG_ != 0 || aB_ != 0 || aA_ != 0),
      mR(mR_), mG(mG_), mB(mB_), mA(mA_), aR(aR_), aG(aG_), aB(aB_), aA(aA_) {}

namespace {
short Wrap(int v) { return static_cast<short>(static_cast<unsigned short>(v)); }
}  // namespace

void flaColorXForm::Compose(const flaColorXForm& o) {
    if (o.isAdd) {
        short r = o.aR, g = o.aG, b = o.aB, a = o.aA;
        if (isMult) {
            r = Wrap(o.aR * mR);
            g = Wrap(o.aG * mG);
            b = Wrap(o.aB * mB);
            a = Wrap(o.aA * mA);
        }
        if (isAdd) {
            aR = Wrap(aR + r);
            aG = Wrap(aG + g);
            aB = Wrap(aB + b);
            aA = Wrap(aA + a);
        } else {
            aR = r;
            aG = g;
            aB = b;
            aA = a;
            isAdd = true;
        }
    }
    if (o.isMult) {
        if (isMult) {
            mR = Wrap(mR * o.mR);
            mG = Wrap(mG * o.mG);
            mB = Wrap(mB * o.mB);
            mA = Wrap(mA * o.mA);
        } else {
            mR = o.mR;
            mG = o.mG;
            mB = o.mB;
            mA = o.mA;
            isMult = true;
        }
    }
}

bool flaColorXForm::Equal(const flaColorXForm& o) const {
    if (isAdd != o.isAdd || isMult != o.isMult) return false;
    if (isAdd && (aA != o.aA || aB != o.aB || aG != o.aG || aR != o.aR)) return false;
    if (isMult && (mA != o.mA || mB != o.mB || mG != o.mG || mR != o.mR)) return false;
    return true;
}

bool flaColorXForm::DumpInFile(flaDump& dump) const {
    flaRecordBits::ColorXForm(dump, *this);
    return true;
}

bool flaColorXForm::ReadFromFile(flaRead& reader, bool withAlpha) {
    CXFORM c;
    reader.GetCxform(&c, withAlpha, isMult, isAdd);
    mR = c.rMult;
    mG = c.gMult;
    mB = c.bMult;
    mA = c.aMult;
    aR = c.rAdd;
    aG = c.gAdd;
    aB = c.bAdd;
    aA = c.aAdd;
    return true;
}
