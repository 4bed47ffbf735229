// Sampling stamp: copies pixels from a source point to the pointer, dab by
// dab, inside the image itself, with a soft round edge. An Alt-click sets
// the source; the first press after it fixes the offset from source to
// target for every later stroke. A region drawn by the stamp region tools
// into m_strokeBaseRed fences where the stamp may paint.
#include "photoitem.h"
#include "commands.h"
#include "pointertool.h"

#include <QDebug>
#include <QMessageBox>
#include <QPainter>
#include <QUndoStack>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

// Beyond this the falloff's integer arithmetic would overflow; no zoom of
// the window comes near it (the brush is at most 200 screen pixels).
constexpr int kMaxDabSide = 65535;

// Side N of the square of image pixels a dab covers, 0 when there is none.
int dabSide(int brushSize, double scale)
{
    if (!(scale > 0.0))
        return 0;
    const double n = brushSize / scale;
    if (!(n >= 1.0) || n > kMaxDabSide)
        return 0;
    return int(n);
}

// Falloff at row i, column j of the square: 0.5 at the centre (h, h),
// falling to 0 at distance h, and 0 beyond, so the dab is a disc of radius h.
inline float falloff(int i, int j, int h)
{
    const float dy = float(h - i);
    const float dx = float(h - j);
    const float f = 0.5f - float(int(dx * dx + dy * dy)) / float(2 * h * h);
    return f < 0.0f ? 0.0f : f;
}

// Blend weight of a dab pixel: the hardness is a floor added to the falloff,
// the opacity a multiplier; the result is capped at 1. Outside the disc the
// weight is 0 whatever the sliders say.
inline float blendWeight(float f, float hardness, float opacity)
{
    if (f == 0.0f)
        return 0.0f;
    const float a = (f + hardness) * opacity;
    return a > 1.0f ? 1.0f : (a < 0.0f ? 0.0f : a);
}

// Largest radius, below which every squared distance of the square is an
// integer a float holds exactly (2 h^2 < 2^24); up to it the disc's extent in
// each row can be computed in integers instead of testing each pixel.
constexpr int kExactDiscRadius = 2896;

// Target and source column of every column of a dab's square, computed with
// the rule's own arithmetic, and the range of columns whose target and
// source both lie inside. int() truncates toward zero and is monotonic, so
// that range is one interval (empty when first > last).
struct DabColumns
{
    cv::AutoBuffer<int, 512> buffer;
    int *target;
    int *source;
    int first;
    int last;

    bool contiguous; // inside first..last both step by exactly one pixel

    DabColumns(double x, int offsetX, int h, int n, int cols)
        : buffer(2 * size_t(n))
        , target(buffer.data())
        , source(buffer.data() + n)
        , first(n)
        , last(-1)
        , contiguous(true)
    {
        for (int j = 0; j < n; ++j) {
            target[j] = int(j + x - h);
            source[j] = int(j + x - offsetX - h);
            if (target[j] >= 0 && target[j] < cols && source[j] >= 0 && source[j] < cols) {
                first = std::min(first, j);
                last = j;
            }
        }
        // Truncation toward zero maps two columns onto column 0 at the left
        // edge; there (and wherever rounding breaks the step) rows go pixel
        // by pixel.
        for (int j = first; j < last; ++j)
            contiguous = contiguous && target[j + 1] == target[j] + 1 && source[j + 1] == source[j] + 1;
    }
};

// Columns of row i of the square that can have a falloff above 0: those
// within distance h of the centre. Outside them the weight is 0 by the rule.
void discSpan(int i, int h, int *lo, int *hi)
{
    if (h == 0 || h > kExactDiscRadius) {
        *lo = 0;
        *hi = 2 * h + 1; // callers clip to the square
        return;
    }
    const int dy = h - i;
    const int room = h * h - dy * dy; // dx^2 must stay below this
    if (room <= 0) {
        *lo = 1;
        *hi = 0;
        return;
    }
    int w = int(std::sqrt(double(room - 1)));
    while (w * w > room - 1)
        --w;
    while ((w + 1) * (w + 1) <= room - 1)
        ++w;
    *lo = h - w;
    *hi = h + w;
}

// Blend weights of row i of the square for the columns lo..hi, by the rule:
// the falloff raised by the hardness, times the opacity, at most 1, and 0
// where the falloff is 0. The same floats as falloff() and blendWeight()
// give pixel by pixel, computed a row at a time.
void rowWeights(int i, int h, int lo, int hi, float hardness, float opacity, float *w)
{
    if (h == 0) { // one pixel: a plain copy
        for (int j = lo; j <= hi; ++j)
            w[j] = 1.0f;
        return;
    }
    if (h > kExactDiscRadius) {
        for (int j = lo; j <= hi; ++j)
            w[j] = blendWeight(falloff(i, j, h), hardness, opacity);
        return;
    }
    // Squared distances stay below 2^24 here, so they are exact both as
    // integers and as floats, and match the rule's arithmetic; the four-wide
    // version does the same single-precision operations (division, max and
    // min for the clamps, a mask for the zero falloff) on four columns at once.
    const int dy2 = (h - i) * (h - i);
    const float scale = float(2 * h * h);
    int j = lo;
#ifdef __SSE2__
    const __m128 half = _mm_set1_ps(0.5f), zero = _mm_setzero_ps(), one = _mm_set1_ps(1.0f);
    const __m128 vscale = _mm_set1_ps(scale), vhard = _mm_set1_ps(hardness), vopa = _mm_set1_ps(opacity);
    const __m128 vdy2 = _mm_set1_ps(float(dy2)), steps = _mm_setr_ps(0.0f, 1.0f, 2.0f, 3.0f);
    for (; j + 3 <= hi; j += 4) {
        const __m128 dx = _mm_sub_ps(_mm_set1_ps(float(h - j)), steps);
        const __m128 d2 = _mm_add_ps(_mm_mul_ps(dx, dx), vdy2);
        const __m128 f = _mm_max_ps(_mm_sub_ps(half, _mm_div_ps(d2, vscale)), zero);
        const __m128 a = _mm_min_ps(_mm_max_ps(_mm_mul_ps(_mm_add_ps(f, vhard), vopa), zero), one);
        _mm_storeu_ps(w + j, _mm_and_ps(_mm_cmpneq_ps(f, zero), a));
    }
#endif
    for (; j <= hi; ++j) {
        const float f0 = 0.5f - float((h - j) * (h - j) + dy2) / scale;
        w[j] = blendWeight(f0 < 0.0f ? 0.0f : f0, hardness, opacity);
    }
}

// One row of a dab where source and target do not overlap: every byte
// becomes int(source x a + target x (1 - a)), a being its pixel's weight
// (a weight of 0 gives the target back exactly).
void blendRow(uchar *__restrict target, const uchar *__restrict source, const float *__restrict weight, int bytes)
{
#pragma omp simd
    for (int k = 0; k < bytes; ++k) {
        const float a = weight[k];
        target[k] = uchar(int(float(source[k]) * a + float(target[k]) * (1.0f - a)));
    }
}

} // namespace

// ---------------------------------------------------------------- the tool

// The square of target pixels a dab at pos may touch, clipped to the image.
cv::Rect StampTool::dabRect(const PhotoItem &item, QPointF pos)
{
    const int n = dabSide(item.m_pointer.m_brushSize, item.m_pointer.m_scale);
    if (n < 1)
        return cv::Rect();
    const int h = n >> 1;
    // int() truncates toward zero and is monotonic, so the ends of the square
    // give the ends of the touched range.
    const int x0 = int(0 + pos.x() - h), x1 = int((n - 1) + pos.x() - h);
    const int y0 = int(0 + pos.y() - h), y1 = int((n - 1) + pos.y() - h);
    const cv::Rect square(x0, y0, x1 - x0 + 1, y1 - y0 + 1);
    return square & cv::Rect(0, 0, item.m_imageCols, item.m_imageRows);
}

// A whole copy of the image before a stroke. The buffer is reused while
// nobody else holds it, so a press does not fault in a fresh 72 MB on a
// 24-megapixel photo; shared memory is never written over.
void StampTool::snapshotImage(PhotoItem &item)
{
    cv::Mat &copy = item.m_job.m_imageBeforeJob;
    const bool reusable = copy.u && copy.u->refcount == 1 && copy.size() == item.m_image.size()
                          && copy.type() == item.m_image.type() && copy.isContinuous();
    if (reusable)
        item.m_image.copyTo(copy);
    else
        copy = item.m_image.clone();
}

// The canvas follows the dab's rectangle only, instead of the whole photo.
void StampTool::refreshPhotoRect(PhotoItem &item, const cv::Rect &rect) { item.showPhotoRect(rect); }

// The preview under the pointer. Until the first press after an Alt-click
// the offsets are 0 and the preview shows what lies around the source;
// afterwards it shows what a dab at the pointer would copy.
void StampTool::showStampPreview(PhotoItem &item, QPointF pos)
{
    const bool atSource = item.m_stamp.m_stampOffsetX == 0 && item.m_stamp.m_stampOffsetY == 0;
    const cv::Mat preview = item.stampPreview(atSource ? item.m_stamp.m_stampSource : pos);
    if (preview.empty())
        return;
    const int markX = atSource ? int(item.m_stamp.m_stampSource.x()) : int(pos.x() - item.m_stamp.m_stampOffsetX);
    const int markY = atSource ? int(item.m_stamp.m_stampSource.y()) : int(pos.y() - item.m_stamp.m_stampOffsetY);
    // The preview is a view into a layer that lives as long as the photo, so
    // the wrap without copy (a photo shown as stored) stays valid while the
    // canvas shows it; a converted preview is a copy.
    item.m_frontGreenWidget->showStampPreview(markX, markY, int(pos.x()), int(pos.y()), item.m_display.image(preview));
}


void StampTool::pickSource(PhotoItem &doc, QPointF pos) const
{
    endStroke(doc); // a gesture whose release never arrived
    doc.m_stamp.m_stampSource = pos;
    doc.m_stamp.m_stampSourceFresh = 1;
    doc.m_stamp.m_stampSourceMissing = 0;
    snapshotImage(doc);
    doc.m_stamp.m_stampOffsetX = 0;
    doc.m_stamp.m_stampOffsetY = 0;
    // The release of the Alt-click records an entry whose before and after
    // are equal, like every stamp gesture.
    doc.m_stamp.m_stampStrokeIndex = doc.m_undoStack->index();
}

void StampTool::press(PhotoItem &doc, QPointF pos) const
{
    if (!startStroke(doc, pos))
        return;
    PointerTool::press(doc, pos);
}

bool StampTool::startStroke(PhotoItem &doc, QPointF pos)
{
    if (doc.m_stamp.m_stampSourceFresh == 0 && doc.m_stamp.m_stampSourceMissing == 1) {
        QMessageBox::warning(nullptr, PhotoItem::tr("Warnning"),
                             PhotoItem::tr("Could not use the stamp because the area to clone has not been defined "
                                           "(Alt-click to define a source point)"),
                             QMessageBox::Ok);
        return false;
    }
    // The canvas drops a release outside the image: the stroke that ended
    // there gets its undo entry now, before the new snapshot is taken.
    endStroke(doc);
    if (doc.m_stamp.m_stampSourceFresh == 1) {
        doc.m_stamp.m_stampSourceFresh = 0;
        doc.m_stamp.m_stampSourceMissing = 0;
        doc.m_stamp.m_stampOffsetX = int(pos.x() - doc.m_stamp.m_stampSource.x());
        doc.m_stamp.m_stampOffsetY = int(pos.y() - doc.m_stamp.m_stampSource.y());
    }
    snapshotImage(doc);
    doc.m_stamp.m_stampStrokeIndex = doc.m_undoStack->index();
    // Unsaved from the first dab on, not only once the release records the
    // stroke: a stroke whose release is lost must still be asked about.
    doc.m_output.m_saved = 0;
    doc.stampPaint(pos);
    showStampPreview(doc, pos);
    refreshPhotoRect(doc, dabRect(doc, pos));
    return true;
}

void StampTool::drag(PhotoItem &doc, QPointF pos) const
{
    // Only a stroke whose press took the snapshot paints: a drag that began
    // outside the image, or after the warning, leaves the photo alone, so
    // nothing changes that its undo entry would not hold.
    if (doc.m_stamp.m_stampStrokeIndex < 0)
        return;
    doc.stampPaint(pos);
    refreshPhotoRect(doc, dabRect(doc, pos));
    // The preview of this point comes with the hover: both canvases follow
    // every move with the button down by a move without it, at the same
    // point, so building it here too would only be drawn over unchanged.
}

void StampTool::hover(PhotoItem &doc, QPointF pos) const
{
    if (doc.m_stamp.m_stampSourceMissing)
        return;
    showStampPreview(doc, pos);
}

void StampTool::release(PhotoItem &doc, QPointF) const
{
    endStroke(doc);
}

void StampTool::endStroke(PhotoItem &doc)
{
    if (doc.m_stamp.m_stampStrokeIndex < 0)
        return;
    // The snapshot holds the image before this gesture only while nothing
    // else entered the history since (a job, for one, takes its own copy
    // into the same buffer); otherwise the gesture is left without an entry.
    const bool snapshotValid = doc.m_stamp.m_stampStrokeIndex == doc.m_undoStack->index() && !doc.m_job.m_imageBeforeJob.empty();
    doc.m_stamp.m_stampStrokeIndex = -1;
    // An empty stroke box means nothing was painted (an Alt-click whose
    // release was lost): no entry, rather than one of the whole image.
    if (!snapshotValid || doc.m_selection.m_strokeMaxX < 0.0 || doc.m_selection.m_strokeMaxY < 0.0)
        return;
    const cv::Rect rect = doc.strokeBoxRect() & cv::Rect(0, 0, doc.m_imageCols, doc.m_imageRows);
    // The push runs the entry's redo at once, which also clears both
    // selections and the boxes and marks the photo unsaved.
    const cv::Mat before = doc.m_job.m_imageBeforeJob(rect);
    std::unique_ptr<Command> entry;
    try {
        entry = std::make_unique<Command>(doc.m_image(rect), before,
                                          QPointF(doc.m_selection.m_strokeMinX, doc.m_selection.m_strokeMinY),
                                          QPointF(doc.m_selection.m_strokeMaxX, doc.m_selection.m_strokeMaxY),
                                          QStringLiteral("stamp"), &doc, rect);
        doc.followInMaster(*entry, rect, before, false);
    } catch (const std::exception &e) { // out of memory, an OpenCV error
        // The stroke is taken back rather than kept where undo (or the
        // master) would not hold it.
        qDebug() << "stamp stroke not kept:" << e.what();
        before.copyTo(doc.m_image(rect));
        doc.showPhotoRect(rect);
        doc.resetStrokeBox();
        return;
    }
    doc.m_undoStack->push(entry.release());
}

void PhotoItem::stampPaint(QPointF pos)
{
    ensureLayers();
    const int n = dabSide(m_pointer.m_brushSize, m_pointer.m_scale);
    if (n < 1)
        return;
    const int h = n >> 1;
    const double x = pos.x(), y = pos.y();
    const int rows = m_imageRows;
    const bool fenced = m_stamp.m_stampRegionActive != 0;
    const DabColumns columns(x, m_stamp.m_stampOffsetX, h, n, m_imageCols);
    if (columns.first > columns.last)
        return;
    cv::AutoBuffer<float, 1024> weightBuffer(4 * size_t(n));
    float *weight = weightBuffer.data();       // per column of the square
    float *byteWeight = weightBuffer.data() + n; // per byte of a contiguous row

    // Row by row, left to right, reading the live image: source and target
    // are the same picture, so a dab that overlaps its own source copies what
    // it has just written, as a stroke over its earlier dabs does. A row whose
    // source is another row (or a part of the same row clear of the target)
    // cannot see its own writes, and is blended in one sweep.
    for (int i = 0; i < n; ++i) {
        const int ty = int(i + y - h);
        const int sy = int(i + y - m_stamp.m_stampOffsetY - h);
        if (ty < 0 || ty >= rows || sy < 0 || sy >= rows)
            continue;
        int lo, hi;
        discSpan(i, h, &lo, &hi);
        lo = std::max(lo, columns.first);
        hi = std::min(hi, columns.last);
        if (lo > hi)
            continue;
        rowWeights(i, h, lo, hi, m_stamp.m_stampHardness, m_stamp.m_stampOpacity, weight);
        uchar *target = m_image.ptr<uchar>(ty);
        const uchar *source = m_image.ptr<uchar>(sy);
        if (fenced) {
            // Outside the region (R below 255) nothing is written; the
            // outline has R 255 and counts as inside.
            const uchar *fence = m_selection.m_strokeBaseRed.ptr<uchar>(ty);
            for (int j = lo; j <= hi; ++j)
                if (fence[4 * columns.target[j] + 2] < 255)
                    weight[j] = 0.0f;
        }
        const int t0 = columns.target[lo], s0 = columns.source[lo], count = hi - lo + 1;
        const bool apart = sy != ty || s0 + count <= t0 || t0 + count <= s0;
        if (columns.contiguous && apart) {
            for (int k = 0; k < count; ++k)
                byteWeight[3 * k] = byteWeight[3 * k + 1] = byteWeight[3 * k + 2] = weight[lo + k];
            blendRow(target + 3 * t0, source + 3 * s0, byteWeight, 3 * count);
            continue;
        }
        for (int j = lo; j <= hi; ++j) {
            const float a = weight[j];
            if (a == 0.0f)
                continue; // weight 0 writes the target back unchanged
            const float b = 1.0f - a;
            uchar *t = target + 3 * columns.target[j];
            const uchar *s = source + 3 * columns.source[j];
            for (int c = 0; c < 3; ++c)
                t[c] = uchar(int(float(s[c]) * a + float(t[c]) * b));
        }
    }
}

cv::Mat PhotoItem::stampPreview(QPointF pos)
{
    ensureLayers();
    const int n = dabSide(m_pointer.m_brushSize, m_pointer.m_scale);
    // The preview lives in the corner of a scratch layer of the image's size;
    // a dab wider or taller than the image gets no preview (the stamp itself
    // still paints).
    if (n < 1 || n > m_imageCols || n > m_imageRows)
        return cv::Mat();
    const int h = n >> 1;
    const double x = pos.x(), y = pos.y();
    const int rows = m_imageRows;
    cv::Mat preview = m_selection.m_strokeBaseGreen(cv::Rect(0, 0, n, n));
    const DabColumns columns(x, m_stamp.m_stampOffsetX, h, n, m_imageCols);
    cv::AutoBuffer<float, 512> weightBuffer(n);
    float *weight = weightBuffer.data();

    // Each pixel takes the source's colour, and as alpha the dab's weight
    // scaled to 255 (0 outside the disc). Pixels whose target or source lies
    // outside keep what the scratch held.
    for (int i = 0; i < n; ++i) {
        const int ty = int(i + y - h);
        const int sy = int(i + y - m_stamp.m_stampOffsetY - h);
        if (ty < 0 || ty >= rows || sy < 0 || sy >= rows)
            continue;
        int lo, hi;
        discSpan(i, h, &lo, &hi);
        lo = std::max(lo, columns.first);
        hi = std::min(hi, columns.last);
        if (lo <= hi)
            rowWeights(i, h, lo, hi, m_stamp.m_stampHardness, m_stamp.m_stampOpacity, weight);
        const uchar *source = m_image.ptr<uchar>(sy);
        uchar *out = preview.ptr<uchar>(i);
        for (int j = columns.first; j <= columns.last; ++j) {
            const uchar *s = source + 3 * columns.source[j];
            const float a = j >= lo && j <= hi ? weight[j] : 0.0f;
            const uchar pixel[4] = {s[0], s[1], s[2], uchar(int(255 * a))};
            std::memcpy(out + 4 * j, pixel, 4);
        }
    }
    return preview;
}
