// flaSprite: a character with a timeline of its own (DefineSprite). It is both a
// flaCharacter (an id in the dictionary, placed like a shape) and a flaMovie (its
// frames, import display list and streamed sound), but it holds no dictionary:
// character, sound and unsupported-element lookups go to the movie that contains
// it, which must outlive it.
#pragma once

#include <list>

#include "flio/flaCharacter.h"
#include "flio/flaMovie.h"

class flaSprite : public flaCharacter, public flaMovie {
public:
    flaSprite(int id, flaMovie* parent);
    // Reads the sprite's frame count and nested tags; the reader stands after the
    // sprite id inside a DefineSprite tag.
    flaSprite(int id, flaMovie* parent, flaRead& reader);
    ~flaSprite() override;

    bool IsSprite() const override { return true; }
    // Applies m to every placement of every frame of the timeline.
    void SetTransformation(const flaMatrix& m) override;
    // DefineSprite, preceded by the definitions the sprite needs.
    void DumpCharacterInFile(flaDump& dump) const override;

    flaCharacter* GetCharacter(int id) const override;
    flaSound* GetSound(int id) const override;
    flaUnsupported* GetUnsupported() override;

    // The static-character pass runs on the main movie only.
    bool PreProsessStaticCharacters() { return false; }

    flaMovie& GetTimeline() { return *this; }
    const flaMovie& GetTimeline() const { return *this; }
    flaMovie* GetParent() const { return parent; }
    // The frame-count word of the DefineSprite tag read (0 for a built sprite).
    unsigned short GetDeclaredFrameCount() const { return declaredFrameCount; }

private:
    void ParseTags(flaRead& reader);
    void DumpSpriteInFile(flaDump& dump) const;

    flaMovie* parent;
    unsigned short declaredFrameCount = 0;
};

// Sprites referred to, not owned.
class flaSpriteList : public std::list<flaSprite*> {};
