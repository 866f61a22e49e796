// A progress bar for long-running commands, drawn on standard error.
#pragma once

#include <chrono>
#include <string>

#include "flio/flaMovie.h"

namespace flio_cli {

// Draws "label [#####-----]  45%" on one line, redrawn in place, once the work has
// taken longer than `delay` (short runs show nothing). The bar writes to its own
// duplicate of the descriptor it is given, so that it still reaches the terminal
// while the library's diagnostics are silenced. Each phase (SetPhase) covers a
// part of the bar; Update receives the fraction done within the current phase.
// Finish completes the line (100% and a newline) when anything was drawn.
class ProgressBar : public flaMovie::Progress {
public:
    // With onlyOnTerminal, nothing is drawn unless fd is a terminal.
    explicit ProgressBar(int fd = 2, double delaySeconds = 0.3, bool onlyOnTerminal = true);
    ~ProgressBar() override;
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // The next phase covers [begin, end) of the bar and is shown under this label.
    void SetPhase(const std::string& label, float begin, float end);
    // Always true: the bar never stops the work.
    bool Update(float fraction) override;
    void Finish();
    bool Drawn() const { return drawn; }

private:
    void Draw(int percent);

    int fd = -1;
    bool enabled = false;
    bool drawn = false;
    std::chrono::steady_clock::time_point start;
    std::chrono::duration<double> delay;
    std::string label;
    float begin = 0.0f, end = 1.0f;
    int lastPercent = -1;
    std::string lastLabel;
    std::size_t widest = 0;  // the longest line drawn
};

}  // namespace flio_cli
