// The static-character pass run after an import: gathering every placement of
// every character, baking the single matrix of static characters into their
// geometry, and moving the other placements into the centred frame of reference.
#include "flio/flaCharacterMatrices.h"

#include <algorithm>

#include "flio/flaCharacter.h"
#include "flio/flaFrame.h"
#include "flio/flaMovie.h"
#include "flio/flaSprite.h"

namespace {

// The float nearest to v, saturating at the float range (a ratio set by the host
// may be anything).
float ToFloat(double v) {
    const double lim = 3.4e38;
    return static_cast<float>(std::max(-lim, std::min(lim, v)));
}

}  // namespace

bool flaMatrices::Static() const {
    if (size() < 2) return true;
    const flaMatrix& first = *front().matrix;
    return std::all_of(begin() + 1, end(), [&](const flaMatrixLevel& m) { return *m.matrix == first; });
}

const flaMatrix& flaMatrices::GetStaticMatrix() const {
    static const flaMatrix identity;
    return empty() ? identity : *front().matrix;
}

void flaCharacterMatrices::Add(flaCharacter* c, flaMatrix* m, int level) {
    if (collecting) {
        collecting->push_back({c, m, level});
        return;
    }
    // Work list of placements still to add; the back is handled first. A sprite
    // seen for the first time is replaced by its own placement preceded by those of
    // its timeline, so the order is that of a depth-first walk.
    struct Task {
        Pending placement;
        bool expand;  // false once the sprite's contents are on the list
    };
    std::vector<Task> work{{{c, m, level}, true}};
    while (!work.empty()) {
        const Task task = work.back();
        work.pop_back();
        const Pending& p = task.placement;
        auto* sprite = task.expand ? dynamic_cast<flaSprite*>(p.character) : nullptr;
        if (sprite && find(p.character) == end()) {
            // The key exists from now on, so the contents are collected once (and a
            // sprite that somehow contains itself is not walked again).
            (*this)[p.character];
            std::vector<Pending> inner;
            collecting = &inner;
            try {
                sprite->GetTimeline().AssociateCharacterMatrices(*this, p.level + 1);
            } catch (...) {
                collecting = nullptr;
                throw;
            }
            collecting = nullptr;
            work.push_back({p, false});
            for (auto it = inner.rbegin(); it != inner.rend(); ++it) work.push_back({*it, true});
        } else {
            (*this)[p.character].push_back(flaMatrixLevel(p.matrix, p.level));
        }
    }
}

void flaFrame::AssociateCharacterMatrices(flaCharacterMatrices& map, int level) {
    for (auto& entry : displayList) map.Add(entry.second.GetCharacter(), &entry.second.GetMatrix(), level);
}

void flaMovie::AssociateCharacterMatrices(flaCharacterMatrices& map, int level) {
    for (auto& frame : frames) frame->AssociateCharacterMatrices(map, level);
}

bool flaMovie::PreProsessStaticCharacters() {
    if (!preProcessStaticCharacters) return false;

    const flaMatrix identity;
    // The stage centre in model units (the stage is 1 wide and 1 / ratio high).
    const flaMatrix toCentre(1, 0, 0, 1, -0.5f, ToFloat(-0.5 / ratio));
    const flaMatrix fromCentre(1, 0, 0, 1, 0.5f, ToFloat(0.5 / ratio));

    characterMatrices.reset(new flaCharacterMatrices());
    AssociateCharacterMatrices(*characterMatrices, 0);
    for (flaCharacter* c : characters) {
        if (!c) continue;
        const auto found = characterMatrices->find(c);
        if (found == characterMatrices->end()) continue;  // never placed
        flaMatrices& placements = found->second;
        if (c->IsSprite() || !placements.Static()) {
            for (flaMatrixLevel& p : placements) {
                if (p.level != 0) continue;
                const flaMatrix m = *p.matrix;
                p.matrix->Multiply(m, toCentre);
            }
        } else {
            flaMatrix baked;
            baked.Multiply(placements.GetStaticMatrix(), toCentre);
            c->SetTransformation(baked);
            for (flaMatrixLevel& p : placements) *p.matrix = p.level == 0 ? identity : fromCentre;
        }
    }
    characterMatrices.reset(new flaCharacterMatrices());
    return true;
}
