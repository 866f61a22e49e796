// flaUnsupported: the kinds of SWF element that an import met but could not
// represent, each kind once, in the order first reported.
#include <algorithm>

#include "flio/flaPalette.h"

bool flaUnsupported::UnsupportedElementAlreadyInserted(const UnsupportedElement& e) const {
    return std::find(elements.begin(), elements.end(), e) != elements.end();
}

const char* flaUnsupported::GetElementName(UnsupportedElement e) {
    switch (e) {
        case TextOrEditText: return "DefineText2/DefineEditText";
        case MorphShape: return "DefineMorphShape";
        case Action: return "DoAction";
        case Button: return "Buttons";
        case LosslessBitmap: return "DefineBitsLossless";
    }
    return "Unknown element";
}
