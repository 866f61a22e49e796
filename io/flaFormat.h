// The SWF format's own facts, in one place: tag codes with their names, the
// tag-header layout, the flag bits of placements, shape records, styles, fonts,
// texts and sound records, and the style and sound format codes. Every reader and
// writer of the library, the flio tool and the benchmarks spell them from here.
#pragma once

#include <cstdint>

namespace flaFormat {

// ---- Tags ------------------------------------------------------------------

enum TagCode : unsigned short {
    End = 0,
    ShowFrame = 1,
    DefineShape = 2,
    FreeCharacter = 3,
    PlaceObject = 4,
    RemoveObject = 5,
    DefineBits = 6,
    DefineButton = 7,
    JPEGTables = 8,
    SetBackgroundColor = 9,
    DefineFont = 10,
    DefineText = 11,
    DoAction = 12,
    DefineFontInfo = 13,
    DefineSound = 14,
    StartSound = 15,
    DefineButtonSound = 17,
    SoundStreamHead = 18,
    SoundStreamBlock = 19,
    DefineBitsLossless = 20,
    DefineBitsJPEG2 = 21,
    DefineShape2 = 22,
    DefineButtonCxform = 23,
    Protect = 24,
    PathsArePostScript = 25,
    PlaceObject2 = 26,
    RemoveObject2 = 28,
    DefineShape3 = 32,
    DefineText2 = 33,
    DefineButton2 = 34,
    DefineBitsJPEG3 = 35,
    DefineBitsLossless2 = 36,
    DefineEditText = 37,
    DefineVideo = 38,
    DefineSprite = 39,
    NameCharacter = 40,
    ProductInfo = 41,
    FrameLabel = 43,
    SoundStreamHead2 = 45,
    DefineMorphShape = 46,
    DefineFont2 = 48,
    ExportAssets = 56,
    ImportAssets = 57,
    EnableDebugger = 58,
    DoInitAction = 59,
    DefineVideoStream = 60,
    VideoFrame = 61,
    DefineFontInfo2 = 62,
    DebugID = 63,
    EnableDebugger2 = 64,
    ScriptLimits = 65,
    SetTabIndex = 66,
    FileAttributes = 69,
    PlaceObject3 = 70,
    ImportAssets2 = 71,
    DoABCDefine = 72,
    DefineFontAlignZones = 73,
    CSMTextSettings = 74,
    DefineFont3 = 75,
    SymbolClass = 76,
    Metadata = 77,
    DefineScalingGrid = 78,
    DoABC = 82,
    DefineShape4 = 83,
    DefineMorphShape2 = 84,
    DefineSceneAndFrameLabelData = 86,
    DefineBinaryData = 87,
    DefineFontName = 88,
    StartSound2 = 89,
    DefineBitsJPEG4 = 90,
    DefineFont4 = 91,
    EnableTelemetry = 93,
    PlaceObject4 = 94,
    // The host application's private palette tag, which players ignore.
    PaletteData = 731,
};

// The tag's name as the format calls it, or null for a code it does not name.
const char* TagName(unsigned int code);

// Tag header: one 16-bit word, code << 6 | length. A length field of 63 (the long
// form) means that the length follows as a 32-bit word; the short form holds
// lengths up to 62.
const unsigned int TagCodeShift = 6;
const unsigned int LongLength = 63;
constexpr std::uint16_t HeaderWord(unsigned int code, unsigned int lengthField) {
    return static_cast<std::uint16_t>((code << TagCodeShift) | lengthField);
}
constexpr std::uint16_t LongHeaderWord(unsigned int code) { return HeaderWord(code, LongLength); }

// The bodies of the fixed tags written in the short form.
const unsigned int RemoveObject2Length = 2;       // the depth
const unsigned int SetBackgroundColorLength = 3;  // red, green, blue
const unsigned int SoundStreamHead2Length = 4;    // playback, format, samples per block

// The file header: signature, version, file length (8 bytes), then the stage RECT,
// the 8.8 frame rate and the frame count.
const unsigned int FileHeaderSize = 8;

// ---- Placements ------------------------------------------------------------

// The flags byte of PlaceObject2, and the first flags byte of PlaceObject3.
namespace Place {
const unsigned char Move = 0x01;
const unsigned char HasCharacter = 0x02;
const unsigned char HasMatrix = 0x04;
const unsigned char HasColorXForm = 0x08;
const unsigned char HasRatio = 0x10;
const unsigned char HasName = 0x20;
const unsigned char HasClipDepth = 0x40;
const unsigned char HasClipActions = 0x80;
}  // namespace Place

// The second flags byte of PlaceObject3.
namespace Place3 {
const unsigned char HasFilterList = 0x01;
const unsigned char HasBlendMode = 0x02;
const unsigned char HasCacheAsBitmap = 0x04;
const unsigned char HasClassName = 0x08;
const unsigned char HasImage = 0x10;
const unsigned char HasVisible = 0x20;
const unsigned char HasOpaqueBackground = 0x40;
}  // namespace Place3

// ---- Shapes ------------------------------------------------------------------

// FillStyleType.
namespace Fill {
const unsigned char Solid = 0x00;
const unsigned char LinearGradient = 0x10;
const unsigned char RadialGradient = 0x12;
const unsigned char FocalRadialGradient = 0x13;
const unsigned char RepeatingBitmap = 0x40;
const unsigned char ClippedBitmap = 0x41;
const unsigned char NonSmoothedRepeatingBitmap = 0x42;
const unsigned char NonSmoothedClippedBitmap = 0x43;
// Type bits: any type with one of these set (and not a gradient) is a bitmap fill;
// 0x40 of them is the tiling.
const unsigned char BitmapBits = 0x41;
const unsigned char TiledBit = 0x40;
// Within the bitmap types 0x40 to 0x43: the clipped (not repeated) bit and the
// not-smoothed bit.
const unsigned char ClippedBit = 0x01;
const unsigned char NonSmoothedBit = 0x02;
}  // namespace Fill

// A style array's count byte: this value means that a 16-bit count follows.
const unsigned char ExtendedStyleCount = 0xFF;
// The gradient record count is the low four bits of its byte.
const unsigned char GradientCountMask = 0x0F;
// The same byte's high bits: spread mode (2 bits), interpolation mode (2 bits).
namespace Gradient {
const unsigned int SpreadShift = 6;
const unsigned int InterpolationShift = 4;
const unsigned int ModeMask = 3;
const unsigned int SpreadPad = 0;
const unsigned int SpreadReflect = 1;
const unsigned int SpreadRepeat = 2;
const unsigned int InterpolationNormal = 0;
const unsigned int InterpolationLinear = 1;
const unsigned int MaxStops = 15;  // what the four count bits hold
}  // namespace Gradient

// LINESTYLE2 (DefineShape4): the first flags byte, most significant bit first:
// start cap (2 bits), join (2 bits), has fill, no horizontal scale, no vertical
// scale, pixel hinting; the second: 5 reserved bits, no close, end cap (2 bits).
namespace Line2 {
const unsigned int StartCapShift = 6;
const unsigned int JoinShift = 4;
const unsigned char HasFill = 0x08;
const unsigned char NoHScale = 0x04;
const unsigned char NoVScale = 0x02;
const unsigned char PixelHinting = 0x01;
const unsigned char NoClose = 0x04;  // second byte
const unsigned char EndCapMask = 0x03;  // second byte
const unsigned int CapMask = 3;       // the start cap and the join after their shift
const unsigned int CapRound = 0;
const unsigned int CapNone = 1;
const unsigned int CapSquare = 2;
const unsigned int JoinRound = 0;
const unsigned int JoinBevel = 1;
const unsigned int JoinMiter = 2;     // a join of 2 brings a 16-bit miter limit
}  // namespace Line2

// DefineShape4's flags byte after the edge bounds: 5 reserved bits, then the fill
// winding rule (non-zero instead of even-odd), non-scaling strokes, scaling strokes.
namespace Shape4 {
const unsigned char FillWindingRule = 0x04;
const unsigned char NonScalingStrokes = 0x02;
const unsigned char ScalingStrokes = 0x01;
}  // namespace Shape4

// The style-change record's five flags, most significant first.
namespace ShapeRecord {
const unsigned int NewStyles = 0x10;
const unsigned int LineStyle = 0x08;
const unsigned int FillStyle1 = 0x04;
const unsigned int FillStyle0 = 0x02;
const unsigned int MoveTo = 0x01;
// Edge records carry their bit count less two, in four bits.
const int EdgeBitsBias = 2;
// The widest delta an edge record carries (a 4-bit count plus the bias).
const int MaxEdgeBits = 17;
}  // namespace ShapeRecord

// ---- Fonts and text ------------------------------------------------------------

// DefineFont2's flags byte.
namespace Font2 {
const unsigned char HasLayout = 0x80;
const unsigned char ShiftJIS = 0x40;
const unsigned char SmallText = 0x20;
const unsigned char ANSI = 0x10;
const unsigned char WideOffsets = 0x08;
const unsigned char WideCodes = 0x04;
const unsigned char Italic = 0x02;
const unsigned char Bold = 0x01;
}  // namespace Font2

// DefineFont3 has DefineFont2's layout, but its glyph outlines are drawn on an em
// square this many times finer (20 x 1024 units).
const unsigned int Font3UnitsPerFont2Unit = 20;

// The flags byte of DefineFontInfo and DefineFontInfo2: two reserved bits, small
// text, Shift-JIS, ANSI, italic, bold, wide codes.
namespace FontInfo {
const unsigned char Italic = 0x04;
const unsigned char Bold = 0x02;
const unsigned char WideCodes = 0x01;
}  // namespace FontInfo

// The first byte of a text record: the record type bit, three reserved bits, then
// has font, has colour, has y offset, has x offset.
namespace TextRecord {
const unsigned char Type = 0x80;
const unsigned char HasFont = 0x08;
const unsigned char HasColor = 0x04;
const unsigned char HasYOffset = 0x02;
const unsigned char HasXOffset = 0x01;
}  // namespace TextRecord

// ---- Sound -------------------------------------------------------------------

// SoundFormat (4 bits).
namespace SoundFormat {
const unsigned int Uncompressed = 0;
const unsigned int ADPCM = 1;
const unsigned int MP3 = 2;
const unsigned int UncompressedLittleEndian = 3;
const unsigned int Nellymoser16kHz = 4;
const unsigned int Nellymoser8kHz = 5;
const unsigned int Nellymoser = 6;
const unsigned int Speex = 11;
}  // namespace SoundFormat

// The sound format byte: SoundFormat (4 bits), SoundRate (2), SoundSize (1: 16-bit),
// SoundType (1: stereo).
namespace SoundByte {
const unsigned int FormatShift = 4;
const unsigned int RateShift = 2;
const unsigned char Is16Bit = 0x02;
const unsigned char IsStereo = 0x01;
}  // namespace SoundByte

// The sample rates of the 2-bit SoundRate codes 0 to 3.
const unsigned int SoundRates[4] = {5500, 11025, 22050, 44100};

// The SOUNDINFO flags byte of StartSound: two reserved bits, SyncStop,
// SyncNoMultiple, then has envelope, has loops, has out point, has in point.
namespace SoundInfo {
const unsigned int SyncShift = 4;
const unsigned char HasEnvelope = 0x08;
const unsigned char HasLoops = 0x04;
const unsigned char HasOutPoint = 0x02;
const unsigned char HasInPoint = 0x01;
}  // namespace SoundInfo

// ---- Filters -------------------------------------------------------------------

// The flags byte that ends the shadow, glow, bevel and gradient filters.
namespace FilterFlag {
const unsigned char Inner = 0x80;
const unsigned char Knockout = 0x40;
const unsigned char CompositeSource = 0x20;
const unsigned char OnTop = 0x10;
// The convolution filter's flags byte.
const unsigned char Clamp = 0x02;
const unsigned char PreserveAlpha = 0x01;
// The pass count in the low bits of the flags byte: five bits for the drop shadow
// and the glow, four for the bevel and gradient filters (whose fifth is OnTop).
const unsigned char Passes5 = 0x1F;
const unsigned char Passes4 = 0x0F;
// The blur filter's last byte: its pass count in the top five bits, then three
// reserved bits.
const unsigned char BlurPassShift = 3;
}  // namespace FilterFlag

// A colour matrix filter holds a 4 x 5 matrix, without a count in the record.
const unsigned int ColorMatrixValues = 20;

// ---- Bitmaps -------------------------------------------------------------------

// BitmapFormat of the lossless bitmaps.
namespace BitmapFormat {
const unsigned int ColorMapped8 = 3;
const unsigned int RGB15 = 4;
const unsigned int RGB24 = 5;
}  // namespace BitmapFormat

// ---- Actions -------------------------------------------------------------------

// Action codes from this value up carry a 16-bit payload length.
const unsigned char ActionHasLength = 0x80;

}  // namespace flaFormat
