#include "tag_names.h"

#include <map>

namespace flio_cli {

std::string TagName(unsigned code) {
    static const std::map<unsigned, const char*> names = {
        {0, "End"}, {1, "ShowFrame"}, {2, "DefineShape"}, {3, "FreeCharacter"}, {4, "PlaceObject"},
        {5, "RemoveObject"}, {6, "DefineBits"}, {7, "DefineButton"}, {8, "JPEGTables"},
        {9, "SetBackgroundColor"}, {10, "DefineFont"}, {11, "DefineText"}, {12, "DoAction"},
        {13, "DefineFontInfo"}, {14, "DefineSound"}, {15, "StartSound"}, {17, "DefineButtonSound"},
        {18, "SoundStreamHead"}, {19, "SoundStreamBlock"}, {20, "DefineBitsLossless"},
        {21, "DefineBitsJPEG2"}, {22, "DefineShape2"}, {23, "DefineButtonCxform"}, {24, "Protect"},
        {25, "PathsArePostScript"}, {26, "PlaceObject2"}, {28, "RemoveObject2"}, {32, "DefineShape3"},
        {33, "DefineText2"}, {34, "DefineButton2"}, {35, "DefineBitsJPEG3"}, {36, "DefineBitsLossless2"},
        {37, "DefineEditText"}, {38, "DefineVideo"}, {39, "DefineSprite"}, {40, "NameCharacter"},
        {41, "ProductInfo"}, {43, "FrameLabel"}, {45, "SoundStreamHead2"}, {46, "DefineMorphShape"},
        {48, "DefineFont2"}, {56, "ExportAssets"}, {57, "ImportAssets"}, {58, "EnableDebugger"},
        {59, "DoInitAction"}, {60, "DefineVideoStream"}, {61, "VideoFrame"}, {62, "DefineFontInfo2"},
        {63, "DebugID"}, {64, "EnableDebugger2"}, {65, "ScriptLimits"}, {66, "SetTabIndex"},
        {69, "FileAttributes"}, {70, "PlaceObject3"}, {71, "ImportAssets2"}, {72, "DoABCDefine"},
        {73, "DefineFontAlignZones"}, {74, "CSMTextSettings"}, {75, "DefineFont3"}, {76, "SymbolClass"},
        {77, "Metadata"}, {78, "DefineScalingGrid"}, {82, "DoABC"}, {83, "DefineShape4"},
        {84, "DefineMorphShape2"}, {86, "DefineSceneAndFrameLabelData"}, {87, "DefineBinaryData"},
        {88, "DefineFontName"}, {89, "StartSound2"}, {90, "DefineBitsJPEG4"}, {91, "DefineFont4"},
        {93, "EnableTelemetry"}, {94, "PlaceObject4"}, {731, "PaletteData"},
    };
    const auto it = names.find(code);
    return it != names.end() ? it->second : "Unknown_" + std::to_string(code);
}

}  // namespace flio_cli
