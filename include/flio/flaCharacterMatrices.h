// Every placement of every character of a movie, gathered across all frames and
// the timelines of the sprites placed in them. The movie uses it after an import to
// find the characters that are always placed with one and the same matrix
// ("static" characters): their matrix is baked into their geometry.
#pragma once

#include <map>
#include <vector>

#include "flio/flaMatrix.h"

class flaCharacter;

// One placement: the matrix of a display-list entry (not owned) and how deep the
// timeline holding it is (0 for the movie's own, 1 inside a sprite placed there...).
class flaMatrixLevel {
public:
    flaMatrixLevel() = default;
    flaMatrixLevel(flaMatrix* m, int l) : matrix(m), level(l) {}

    flaMatrix* matrix = nullptr;
    int level = 0;
};

class flaMatrices : public std::vector<flaMatrixLevel> {
public:
    // True for fewer than two placements, or when every matrix equals the first.
    bool Static() const;
    // The first placement's matrix; the identity for an empty list.
    const flaMatrix& GetStaticMatrix() const;
};

class flaCharacterMatrices : public std::map<flaCharacter*, flaMatrices> {
public:
    // Appends (m, level) to c's placements. The first time a sprite is met, the
    // placements of its own timeline are collected first, one level deeper; so
    // each sprite's contents are collected once, at the level of its first
    // placement. Sprites are expanded with an explicit work list, not recursion,
    // so deeply chained sprites cannot exhaust the stack.
    void Add(flaCharacter* c, flaMatrix* m, int level);

private:
    struct Pending {
        flaCharacter* character;
        flaMatrix* matrix;
        int level;
    };
    // While a sprite's timeline is being walked, Add only records here.
    std::vector<Pending>* collecting = nullptr;
};
