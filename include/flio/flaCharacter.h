// flaCharacter: the base of everything that has an id in a movie's dictionary
// (shapes, sprites, texts, the background shape). A character writes its
// definition tag once, the first time a frame needs it.
#pragma once

class flaDump;
class flaMatrix;

class flaCharacter {
public:
    flaCharacter() = default;
    explicit flaCharacter(int id_) : id(id_) {}
    flaCharacter(const flaCharacter&) = default;
    flaCharacter& operator=(const flaCharacter&) = default;
    virtual ~flaCharacter();

    virtual bool IsSprite() const { return false; }
    virtual void SetTransformation(const flaMatrix& m) = 0;
    virtual void DumpCharacterInFile(flaDump& dump) const = 0;

    int GetId() const { return id; }
    void SetId(int newId) { id = newId; }
    unsigned int GetCostCode() const { return costCode; }
    void SetCostCode(unsigned int code) { costCode = code; }
    bool IsAlreadyDumped() const { return alreadyDumped; }
    // Lets a movie be written again: the next DumpInFile writes the definition anew.
    void ResetDumped() const { alreadyDumped = false; }

    // Writes the definition under the character's cost code unless already written.
    void DumpInFile(flaDump& dump) const;

protected:
    int id = -1;
    unsigned int costCode = 0;
    mutable bool alreadyDumped = false;
};

class flaCharacterBase : public flaCharacter {
public:
    flaCharacterBase() = default;
    explicit flaCharacterBase(int id_) : flaCharacter(id_) {}
    flaCharacterBase(const flaCharacterBase&) = default;
};
