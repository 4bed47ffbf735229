#include "progressdisplay.h"

#include <cstdio>
#include <string>

#include <unistd.h>

namespace {

constexpr int kOverallWidth = 24;
constexpr int kPhotoWidth = 12;

std::string bar(int percent, int width)
{
    const int filled = percent * width / 100;
    return "[" + std::string(size_t(filled), '#') + std::string(size_t(width - filled), '.') + "]";
}

} // namespace

ProgressDisplay::ProgressDisplay(Mode mode, int photos, bool batch)
    : m_mode(mode), m_photos(photos > 0 ? photos : 1), m_batch(batch)
{
}

ProgressDisplay::Mode ProgressDisplay::modeForStdout(bool quiet)
{
    if (quiet)
        return Mode::Silent;
    return ::isatty(STDOUT_FILENO) ? Mode::Bar : Mode::Lines;
}

void ProgressDisplay::startPhoto(int index, const QString &name)
{
    m_index = index;
    m_name = name;
    m_percent = -1;
}

void ProgressDisplay::update(int percent)
{
    if (percent == m_percent)
        return;
    m_percent = percent;
    draw();
}

void ProgressDisplay::draw()
{
    if (m_mode == Mode::Silent)
        return;
    if (m_mode == Mode::Lines) {
        if (m_batch)
            std::printf("%d/%d %s %d%%\n", m_index + 1, m_photos, qPrintable(m_name), m_percent);
        else
            std::printf("%d%%\n", m_percent);
    } else {
        const int overall = (m_index * 100 + m_percent) / m_photos;
        std::printf("\r%s %3d%%  %d/%d %s %3d%% %s\033[K", bar(overall, kOverallWidth).c_str(), overall,
                    m_index + 1, m_photos, bar(m_percent, kPhotoWidth).c_str(), m_percent,
                    qPrintable(m_name));
        m_barShown = true;
    }
    std::fflush(stdout);
}

void ProgressDisplay::endPhoto()
{
    update(100);
}

void ProgressDisplay::finish()
{
    if (m_barShown) {
        std::printf("\n");
        std::fflush(stdout);
        m_barShown = false;
    }
}

void ProgressDisplay::error(const QString &message)
{
    if (m_barShown) {
        std::printf("\r\033[K");
        std::fflush(stdout);
    }
    std::fprintf(stderr, "mervane-erase: %s\n", qPrintable(message));
    std::fflush(stderr);
    if (m_barShown && m_percent >= 0)
        draw();
}

void ProgressDisplay::note(const QString &message)
{
    if (m_mode != Mode::Silent)
        error(message);
}
