#include "flio/flaCharacter.h"

#include "flio/flaDump.h"

flaCharacter::~flaCharacter() = default;

void flaCharacter::DumpInFile(flaDump& dump) const {
    if (alreadyDumped) return;
    dump.SetCostCode(costCode);
    DumpCharacterInFile(dump);
    dump.SetCostCode(0);
    alreadyDumped = true;
}
