// Taking a movie over: importing it, perhaps changing it, and writing it again.
// The import fills the model for a host that reads a movie; a host that writes the
// movie back needs a step on each side of the import, and a stream set to write
// as the file did:
//
//   flaMovie movie;
//   flaRewrite::PrepareImport(movie, flaRewrite::Faithful);  // before the import
//   if (!movie.ReadMovieFromFile(file, nullptr)) ...
//   flaRewrite::Report report = flaRewrite::Prepare(movie);
//   ... change the movie ...
//   flaDump dump(width, nullptr);
//   dump.SetWriteOptions(flaRewrite::WriteOptionsFor(movie));
//   movie.DumpMovieToFile(out, dump, compress);
//
// Faithful mode keeps what the model can show as the file had it (blend modes,
// filters, full shape styles, exact twips, text colours and positions, every
// sound format, the timeline's length and timing, the file's version and frame
// rate); a second import-and-write cycle writes the same bytes. Classic mode runs
// the classic import and writer, which drop those details. Either way
// flaMovie::GetUnsupported() names what the model does not hold, and the report
// says what Prepare had to leave out.
#pragma once

#include <set>

#include "flio/flaDump.h"
#include "flio/flaMovie.h"

class flaCharacter;

class flaRewrite {
public:
    // What Prepare did.
    struct Report {
        int shapes = 0;              // shapes decoded
        int texts = 0;               // texts turned into their outlines
        int undecodedShapes = 0;     // shapes whose records are malformed: written empty
        int undecodedTexts = 0;      // texts whose records are malformed: written empty
        int keptSounds = 0;          // event sounds no frame starts, kept by a stop in the first frame
        int lostSounds = 0;          // such sounds in a movie without frames: not written
        int keptStreams = 0;         // streamed sounds written again (main timeline and sprites)
        int droppedStreams = 0;      // streamed sounds in a format the writer cannot announce
        int unplacedCharacters = 0;  // characters no frame places: the writer does not write them
    };

    enum Mode {
        Classic,   // the classic import, with the static-character pass off
        Faithful,  // the faithful import (flaMovie::SetFaithfulImport)
    };

    // Switches the static-character pass off, so that shapes and placements keep
    // the coordinates of the file (the pass would re-centre them), and, in
    // faithful mode, the faithful import on. Call it before the import.
    static void PrepareImport(flaMovie& movie, Mode mode = Classic);

    // The stream options to write a prepared movie with: everything of
    // flaDump::WriteOptions::Faithful() for a faithfully imported movie, the
    // classic writer otherwise.
    static flaDump::WriteOptions WriteOptionsFor(const flaMovie& movie);

    // Readies an imported movie for DumpMovieToFile:
    // - decodes every shape (BuildBloated), builds the fonts (buildBloatedFonts) and
    //   the outlines of every text: a text read from a file is written as a shape
    //   under its own id, since the fonts it names are not written;
    // - a background colour stays set in the frames after the one that set it, as
    //   in a player (the import gives it to that one frame only);
    // - sprite placements get no start actions, so that every sprite plays from its
    //   first frame on its own, as it did in the file;
    // - an event sound that no frame starts would be lost (a DefineSound is written
    //   only before a start): it gets a start record with the stop flag in the
    //   first frame, which keeps the definition and plays nothing;
    // - a streamed sound is written again: in faithful mode in its own format; in
    //   classic mode only in the one format the classic writer announces (ADPCM,
    //   22 kHz, 16-bit, stereo), one in another format is left out.
    // `progress`, when given, is told the fraction of the shapes and texts decoded
    // (its result is not looked at).
    static Report Prepare(flaMovie& movie, flaMovie::Progress* progress = nullptr);

    // The characters that the writer writes: those placed in some frame of the
    // movie, and, inside every sprite so placed, those placed in its frames.
    static std::set<const flaCharacter*> PlacedCharacters(const flaMovie& movie);
};
