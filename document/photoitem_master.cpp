// The photo's master copy: the file's own samples where they hold more than
// the 8-bit working copy the tools, the engine's search and the screen use
// (16 bits a sample, an alpha channel). Every change of the working copy
// that makes an undo entry is carried into the master here, and the entry
// keeps both sides of it, so that undo and redo are exact at full depth.
//
// Outside what a change wrote, the master keeps its samples bit for bit. An
// erase's hole takes the engine's vote again on the 16-bit pixels (the same
// matches and weights, engine::voteHoleWide), so that a smooth fill does not
// band, and is made opaque (the fill has nothing transparent to take after).
// The stamp and the clone tools work on the 8-bit copy; the master takes
// their result widened, pixel for pixel where it changed.
#include "photoitem.h"
#include "commands.h"
#include "widevote.h"

#include <QFileInfo>
#include <opencv2/imgproc.hpp>

#include "photoio.h"

namespace {

// The colour channels of a master (3 or 4 channels), as a copy.
cv::Mat colourOf(const cv::Mat &master)
{
    if (master.channels() == 3)
        return master.clone();
    cv::Mat colour;
    cv::cvtColor(master, colour, cv::COLOR_BGRA2BGR);
    return colour;
}

// 255 where any channel of two CV_8UC3 images differs.
cv::Mat changedMap(const cv::Mat &a, const cv::Mat &b)
{
    cv::Mat diff, any;
    cv::absdiff(a, b, diff);
    cv::transform(diff, any, cv::Matx13f(1, 1, 1));
    return any > 0;
}

double widening(int depth) { return depth == CV_16U ? 257.0 : 1.0; }

} // namespace

void PhotoItem::followInMaster(Command &entry, const cv::Rect &rect, const cv::Mat &before, bool fill,
                               const engine::FinalVote *vote)
{
    if (m_master.empty() || rect.empty() || before.size() != rect.size())
        return;
    const cv::Mat master = m_master(rect);
    const cv::Mat changed = changedMap(m_image(rect), before);
    // An erase's hole is where its vote wrote; without a kept vote, where
    // the 8-bit pixels changed.
    const bool voted = fill && vote && !vote->empty() && vote->mask.size() == rect.size();
    cv::Mat hole;
    if (voted) {
        cv::extractChannel(vote->mask, hole, 0);
        hole = (hole == 255) | changed;
    } else {
        hole = changed;
    }
    const cv::Mat source = colourOf(master);
    cv::Mat colour = source.clone(), widened;
    m_image(rect).convertTo(widened, source.type(), widening(master.depth()));
    widened.copyTo(colour, hole);
    if (voted && master.depth() == CV_16U)
        engine::voteHoleWide(source, colour, *vote);
    cv::Mat after = colour;
    if (master.channels() == 4) {
        cv::Mat alpha;
        cv::extractChannel(master, alpha, 3);
        if (fill)
            alpha.setTo(cv::Scalar::all(master.depth() == CV_16U ? 65535 : 255), hole);
        const cv::Mat parts[] = {colour, alpha};
        const int fromTo[] = {0, 0, 1, 1, 2, 2, 3, 3};
        after.create(rect.size(), master.type());
        cv::mixChannels(parts, 2, &after, 1, fromTo, 4);
    }
    entry.keepMaster(after, master);
}

void PhotoItem::setMasterPixels(const cv::Mat &temp, const cv::Rect &rect)
{
    if (temp.empty() || m_master.empty() || temp.size() != rect.size() || temp.type() != m_master.type()
        || (rect & cv::Rect(0, 0, m_master.cols, m_master.rows)) != rect)
        return;
    temp.copyTo(m_master(rect));
}

cv::Mat PhotoItem::pixelsToSave(const std::string &suffix) const
{
    if (m_master.empty())
        return m_image;
    const bool deep = m_master.depth() == CV_16U && photoio::holdsSixteenBits(suffix);
    const bool alpha = m_master.channels() == 4 && photoio::holdsAlpha(suffix);
    if (deep && alpha)
        return m_master;
    const cv::Mat colour = deep ? colourOf(m_master) : m_image;
    if (!alpha)
        return colour;
    // Eight-bit colour with the alpha channel narrowed alike.
    cv::Mat a;
    cv::extractChannel(m_master, a, 3);
    if (a.depth() != CV_8U)
        a.convertTo(a, CV_8U, 1.0 / 257.0);
    cv::Mat bgra;
    const cv::Mat parts[] = {colour, a};
    const int fromTo[] = {0, 0, 1, 1, 2, 2, 3, 3};
    bgra.create(colour.size(), CV_8UC4);
    cv::mixChannels(parts, 2, &bgra, 1, fromTo, 4);
    return bgra;
}

QString PhotoItem::reducedInFile(const QString &fileName) const
{
    if (m_master.empty())
        return QString();
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    const std::string s = suffix.toStdString();
    QStringList lost;
    if (m_master.depth() == CV_16U && !photoio::holdsSixteenBits(s))
        lost << tr("its 16-bit samples were reduced to 8 bits");
    if (m_master.channels() == 4 && !photoio::holdsAlpha(s))
        lost << tr("its transparency was dropped");
    if (lost.isEmpty())
        return QString();
    return tr("%1 was saved, but %2 files cannot hold all of this photo: %3. The photo itself is unchanged; "
              "PNG and TIFF keep everything.")
        .arg(QFileInfo(fileName).fileName(), suffix.toUpper(), lost.join(tr(", and ")));
}
