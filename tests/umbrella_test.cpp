// The umbrella header stands on its own and reaches every public class family.
#include "flio/flio.h"

#include <gtest/gtest.h>

#include <type_traits>

TEST(Umbrella, EveryClassFamilyIsReachable) {
    EXPECT_TRUE((std::is_base_of<flaCharacter, flaGeometry>::value));
    EXPECT_TRUE((std::is_base_of<flaMovie, flaSprite>::value));
    EXPECT_TRUE((std::is_base_of<flaCharacter, flaTextGeometry>::value));
    EXPECT_TRUE((std::is_base_of<UT_ShareBase, FLIO::flaFilter>::value));
    EXPECT_TRUE((std::is_base_of<flaBitsBase, flaBitsJpeg3>::value));
    EXPECT_TRUE((std::is_class<flaSoundInfo>::value && std::is_class<flaQKData>::value &&
                 std::is_class<flaAction>::value && std::is_class<flaCharacterMatrices>::value &&
                 std::is_class<flaRead>::value && std::is_class<flaDump>::value && std::is_class<fontInfo>::value));
}
