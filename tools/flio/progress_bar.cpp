#include "progress_bar.h"

#include <unistd.h>

#include <algorithm>

namespace flio_cli {
namespace {

const int kBarWidth = 30;

void WriteAll(int fd, const std::string& s) {
    const char* p = s.data();
    std::size_t left = s.size();
    while (left > 0) {
        const ssize_t n = write(fd, p, left);
        if (n <= 0) return;
        p += n;
        left -= static_cast<std::size_t>(n);
    }
}

}  // namespace

ProgressBar::ProgressBar(int fd_, double delaySeconds, bool onlyOnTerminal)
    : start(std::chrono::steady_clock::now()), delay(delaySeconds) {
    if (onlyOnTerminal && !isatty(fd_)) return;
    fd = dup(fd_);
    enabled = fd >= 0;
}

ProgressBar::~ProgressBar() {
    Finish();
    if (fd >= 0) close(fd);
}

void ProgressBar::SetPhase(const std::string& label_, float begin_, float end_) {
    label = label_;
    begin = begin_;
    end = end_;
    Update(0.0f);
}

bool ProgressBar::Update(float fraction) {
    if (!enabled) return true;
    if (!drawn && std::chrono::steady_clock::now() - start < delay) return true;
    const float f = begin + (end - begin) * std::clamp(fraction, 0.0f, 1.0f);
    const int percent = std::clamp(static_cast<int>(f * 100.0f), 0, 100);
    if (percent != lastPercent || label != lastLabel) Draw(percent);
    return true;
}

void ProgressBar::Draw(int percent) {
    const int filled = percent * kBarWidth / 100;
    std::string line = "\r" + label + " [" + std::string(static_cast<std::size_t>(filled), '#') +
                       std::string(static_cast<std::size_t>(kBarWidth - filled), '-') + "] " +
                       std::string(percent < 10 ? "  " : percent < 100 ? " " : "") + std::to_string(percent) + "%";
    // Clear what a longer label left behind.
    const std::size_t width = line.size();
    if (widest > width) line += std::string(widest - width, ' ');
    widest = std::max(widest, width);
    WriteAll(fd, line);
    drawn = true;
    lastPercent = percent;
    lastLabel = label;
}

void ProgressBar::Finish() {
    if (!drawn) return;
    if (lastPercent != 100) Draw(100);
    WriteAll(fd, "\n");
    drawn = false;
    enabled = false;
}

}  // namespace flio_cli
