// A photo's colour profile in the window: the canvas, the list row, the
// before-and-after view and the printed page show the pixels converted from
// the profile to sRGB (the numbers Little CMS gives), while the engine, the
// undo entries and the file keep the photo's own numbers. A photo without a
// profile, or with an sRGB one, is shown as stored. And a 16-bit photo (or
// one with alpha) in the window: opened with its 16-bit master beside the
// 8-bit working copy, erased at full precision, undone exactly, saved at 16
// bits where the format holds them, with a note once where it does not.
#include <QDir>
#include <QListWidget>
#include <QSignalSpy>
#include <QUndoStack>
#include <QtTest>
#include <lcms2.h>
#include <opencv2/imgproc.hpp>

#include <fstream>
#include <set>
#include <iterator>

#include "customwidget.h"
#include "tools.h"
#include "photoio.h"
#include "photoitem.h"
#include "photoitemstate.h"
#include "ui_mainwindow.h"
#include "windowfixture.h"
#include "windowtest.h"

namespace {

constexpr int kJobTimeoutMs = 60000;
const char *const kAdobeCompatible = "/usr/share/color/icc/compatibleWithAdobeRGB1998.icc";

std::vector<uint8_t> fileBytes(const char *path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

// What Little CMS makes of one blue-green-red pixel under `icc`, called on
// its own (red-green-blue order, its built-in sRGB, perceptual, black point
// compensation), as red-green-blue. The transform of the last profile is
// kept: the tests ask about many pixels of one profile.
cv::Vec3b littleCmsSrgb(const std::vector<uint8_t> &icc, const cv::Vec3b &bgr)
{
    struct Transform
    {
        std::vector<uint8_t> icc;
        cmsHTRANSFORM handle = nullptr;
        ~Transform()
        {
            if (handle)
                cmsDeleteTransform(handle);
        }
    };
    static Transform kept;
    if (!kept.handle || kept.icc != icc) {
        if (kept.handle)
            cmsDeleteTransform(kept.handle);
        cmsHPROFILE in = cmsOpenProfileFromMem(icc.data(), cmsUInt32Number(icc.size()));
        cmsHPROFILE out = cmsCreate_sRGBProfile();
        kept.handle = cmsCreateTransform(in, TYPE_RGB_8, out, TYPE_RGB_8, INTENT_PERCEPTUAL,
                                         cmsFLAGS_NOCACHE | cmsFLAGS_BLACKPOINTCOMPENSATION);
        kept.icc = icc;
        cmsCloseProfile(in);
        cmsCloseProfile(out);
    }
    const uchar rgb[3] = {bgr[2], bgr[1], bgr[0]};
    uchar converted[3] = {0, 0, 0};
    cmsDoTransform(kept.handle, rgb, converted, 1);
    return cv::Vec3b(converted[0], converted[1], converted[2]);
}

cv::Vec3b rgbOf(QRgb p) { return cv::Vec3b(uchar(qRed(p)), uchar(qGreen(p)), uchar(qBlue(p))); }
cv::Vec3b rgbOf(const cv::Vec3b &bgr) { return cv::Vec3b(bgr[2], bgr[1], bgr[0]); }

int farthest(const cv::Vec3b &a, const cv::Vec3b &b)
{
    int d = 0;
    for (int c = 0; c < 3; ++c)
        d = std::max(d, std::abs(int(a[c]) - int(b[c])));
    return d;
}

// Four saturated patches (red, green, blue, cyan) over a smooth backdrop.
cv::Mat patchPhoto(int cols = 160, int rows = 120)
{
    cv::Mat photo(rows, cols, CV_8UC3);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            photo.at<cv::Vec3b>(y, x) = cv::Vec3b(uchar(60 + x / 2), uchar(80 + y / 2), uchar(120 + (x + y) / 4));
    const cv::Scalar colours[] = {{20, 20, 235}, {20, 235, 20}, {235, 20, 20}, {235, 235, 20}};
    for (int i = 0; i < 4; ++i)
        cv::rectangle(photo, cv::Rect(10 + 36 * i, 10, 30, 30), colours[i], cv::FILLED);
    return photo;
}

QString writeWithProfile(const QString &dir, const QString &name, const cv::Mat &pixels,
                         const std::vector<uint8_t> &icc)
{
    photoio::Metadata metadata;
    metadata.icc = icc;
    const QString path = dir + "/" + name;
    const photoio::Encoded encoded =
        photoio::encode(pixels, QFileInfo(name).suffix().toStdString(), photoio::EncodeOptions(), metadata);
    if (!encoded.ok() || !photoio::writeFileChecked(path.toStdString(), encoded.bytes).empty())
        return QString();
    return path;
}


// A smooth 16-bit gradient: every channel climbs through thousands of
// levels, so that an 8-bit fill could hold at most 256 of them.
cv::Mat wideGradient(int cols = 200, int rows = 150)
{
    cv::Mat photo(rows, cols, CV_16UC3);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < cols; ++x)
            photo.at<cv::Vec3w>(y, x) = cv::Vec3w(ushort(8000 + 211 * x + 7 * y), ushort(6000 + 283 * y + 5 * x),
                                                  ushort(20000 + 97 * x + 131 * y));
    return photo;
}

// The number of distinct values of a channel over the 255 pixels of `mask`.
int distinctLevels(const cv::Mat &wide, const cv::Mat &mask, int channel)
{
    std::set<ushort> levels;
    for (int y = 0; y < wide.rows; ++y)
        for (int x = 0; x < wide.cols; ++x)
            if (mask.at<uchar>(y, x))
                levels.insert(wide.at<cv::Vec3w>(y, x)[channel]);
    return int(levels.size());
}

// 255 where any channel differs.
cv::Mat changedWhere(const cv::Mat &a, const cv::Mat &b)
{
    cv::Mat diff;
    cv::absdiff(a, b, diff);
    std::vector<cv::Mat> channels;
    cv::split(diff, channels);
    cv::Mat any = cv::Mat::zeros(a.size(), CV_8UC1);
    for (const cv::Mat &c : channels)
        any |= c > 0;
    return any;
}

QString writeEncoded(const QString &dir, const QString &name, const cv::Mat &pixels)
{
    return writeWithProfile(dir, name, pixels, {});
}

} // namespace

class TestColour : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    MainWindow *m_w = nullptr;
    Ui::MainWindow *ui = nullptr;
    std::vector<uint8_t> m_adobe;

    PhotoItem *open(const QString &path)
    {
        if (path.isEmpty())
            return nullptr;
        ui->widget_back->setFixedSize(600, 400);
        const int before = m_w->photoItems().size();
        m_w->openPhoto(path);
        if (m_w->photoItems().size() != before + 1)
            return nullptr;
        QCoreApplication::processEvents();
        return m_w->photoItems().last();
    }

    QImage canvas() const { return ui->widget_mid->pixmap().toImage(); }

    // A brush stroke of the red selection across `from` .. `to`, then Erase
    // on the real worker thread.
    bool paintAndErase(PhotoItem *item, QPointF from, QPointF to, int size = 14)
    {
        item->recvSelectType(4, size, 0);
        item->recvLeftPressPoint(from);
        for (int k = 1; k <= 8; ++k)
            item->recvLeftMovePoint(from + (to - from) * (k / 8.0));
        item->recvReleasePoint(to);
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        const int entries = item->getUndoStack()->count();
        item->recvEraseCommand();
        if (item->isJobActive() && !finished.wait(kJobTimeoutMs))
            return false;
        return item->getUndoStack()->count() == entries + 1;
    }

    // The largest difference, over every pixel, between the canvas and the
    // photo's pixels converted one by one by Little CMS.
    int canvasAgainstLittleCms(PhotoItem *item, const QImage &shown) const
    {
        const cv::Mat image = state(item).m_image;
        if (shown.width() != image.cols || shown.height() != image.rows)
            return 256;
        int worst = 0;
        for (int y = 0; y < image.rows; ++y)
            for (int x = 0; x < image.cols; ++x)
                worst = std::max(worst, farthest(rgbOf(shown.pixel(x, y)),
                                                 littleCmsSrgb(m_adobe, image.at<cv::Vec3b>(y, x))));
        return worst;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_adobe = fileBytes(kAdobeCompatible);
        QVERIFY2(!m_adobe.empty(), "icc-profiles-free's Adobe RGB compatible profile is missing");
    }

    void init()
    {
        m_w = openTestWindow();
        ui = m_w->form();
    }

    void cleanup() { deleteAfterJobs(m_w, kJobTimeoutMs); }

    // ------------------------------------------------------------ display

    void aWideGamutPhotoIsShownThroughItsProfile()
    {
        const cv::Mat photo = patchPhoto();
        PhotoItem *item = open(writeWithProfile(m_dir.path(), "adobe.png", photo, m_adobe));
        QVERIFY(item);
        QVERIFY(!item->display().isIdentity());
        // The engine's numbers are the file's own.
        QCOMPARE(cv::norm(state(item).m_image, photo, cv::NORM_INF), 0.0);
        const QImage shown = canvas();
        QCOMPARE(shown.size(), QSize(photo.cols, photo.rows));
        // Each saturated patch: Little CMS's sRGB within one level, and
        // visibly not the raw numbers.
        for (int i = 0; i < 4; ++i) {
            const cv::Point centre(25 + 36 * i, 25);
            const cv::Vec3b raw = photo.at<cv::Vec3b>(centre);
            const cv::Vec3b onScreen = rgbOf(shown.pixel(centre.x, centre.y));
            QVERIFY2(farthest(onScreen, littleCmsSrgb(m_adobe, raw)) <= 1, qPrintable(QString("patch %1").arg(i)));
            // Pure blue is nearly the same in both spaces.
            if (i != 2)
                QVERIFY2(farthest(onScreen, rgbOf(raw)) > 10, qPrintable(QString("patch %1 shown raw").arg(i)));
        }
        QVERIFY(canvasAgainstLittleCms(item, shown) <= 1);
        // The printed page and the list row show the same conversion.
        QCOMPARE(item->shownPixmap().toImage().convertToFormat(QImage::Format_RGB32),
                 shown.convertToFormat(QImage::Format_RGB32));
    }

    void aPhotoWithoutProfileIsShownAsStored()
    {
        const cv::Mat photo = patchPhoto();
        PhotoItem *item = open(writeImage(m_dir.path(), "plain.png", photo));
        QVERIFY(item);
        QVERIFY(item->display().isIdentity());
        const QImage shown = canvas();
        for (int y = 0; y < photo.rows; y += 7)
            for (int x = 0; x < photo.cols; x += 7)
                QCOMPARE(rgbOf(shown.pixel(x, y)), rgbOf(photo.at<cv::Vec3b>(y, x)));
    }

    void anSrgbProfileIsShownAsStored()
    {
        // python3-skimage's astronaut carries an sRGB profile: converting it
        // would change nothing one sees, so the pixels go to the screen as
        // stored, as fast as a photo without a profile.
        const QString path = realPhoto("astronaut.png");
        QVERIFY2(QFile::exists(path), "python3-skimage photographs are missing");
        QVERIFY(!photoio::decodeFile(path.toStdString()).metadata.icc.empty());
        PhotoItem *item = open(path);
        QVERIFY(item);
        QVERIFY(item->display().isIdentity());
        const cv::Mat image = state(item).m_image;
        const QImage shown = canvas();
        for (int y = 0; y < image.rows; y += 11)
            for (int x = 0; x < image.cols; x += 11)
                QCOMPARE(rgbOf(shown.pixel(x, y)), rgbOf(image.at<cv::Vec3b>(y, x)));
    }

    void aCameraJpegInAdobeRgbIsShownThroughItsProfile()
    {
        // python3-skimage's rocket is a JPEG with an Adobe RGB (1998) profile.
        const QString path = realPhoto("rocket.jpg");
        QVERIFY2(QFile::exists(path), "python3-skimage photographs are missing");
        const std::vector<uint8_t> icc = photoio::decodeFile(path.toStdString()).metadata.icc;
        QVERIFY(!icc.empty());
        PhotoItem *item = open(path);
        QVERIFY(item);
        QVERIFY(!item->display().isIdentity());
        const cv::Mat image = state(item).m_image;
        const QImage shown = canvas();
        int worst = 0, moved = 0;
        for (int y = 0; y < image.rows; y += 5)
            for (int x = 0; x < image.cols; x += 5) {
                const cv::Vec3b raw = image.at<cv::Vec3b>(y, x);
                worst = std::max(worst, farthest(rgbOf(shown.pixel(x, y)), littleCmsSrgb(icc, raw)));
                moved = std::max(moved, farthest(rgbOf(shown.pixel(x, y)), rgbOf(raw)));
            }
        QVERIFY(worst <= 1);
        QVERIFY(moved > 10);
    }

    void aProfileThatIsNotRgbLeavesThePixelsAsStored()
    {
        const std::vector<uint8_t> grey = fileBytes("/usr/share/color/icc/Gray.icc");
        QVERIFY(!grey.empty());
        const cv::Mat photo = patchPhoto(40, 30);
        // Written with a profile the colour pixels cannot be seen through
        // (JPEG takes any profile; PNG refuses a grey one on colour).
        const QString path = writeWithProfile(m_dir.path(), "grey-profile.jpg", photo, grey);
        QVERIFY(!path.isEmpty());
        PhotoItem *item = open(path);
        QVERIFY(item);
        QVERIFY(item->display().isIdentity());
        const cv::Mat image = state(item).m_image;
        QCOMPARE(rgbOf(canvas().pixel(5, 5)), rgbOf(image.at<cv::Vec3b>(5, 5)));
    }

    void theThumbnailIsShownThroughTheProfile()
    {
        // One flat colour: the reduction cannot move it.
        const cv::Mat photo(90, 120, CV_8UC3, cv::Scalar(30, 40, 220));
        PhotoItem *item = open(writeWithProfile(m_dir.path(), "flat.png", photo, m_adobe));
        QVERIFY(item);
        QSignalSpy thumbnails(item, &PhotoItem::thumbnailChanged);
        item->refreshThumbnail();
        QCOMPARE(thumbnails.count(), 1);
        const QImage thumb = thumbnails.at(0).at(0).value<QPixmap>().toImage();
        QVERIFY(!thumb.isNull());
        const cv::Vec3b expected = littleCmsSrgb(m_adobe, photo.at<cv::Vec3b>(0, 0));
        QVERIFY(farthest(rgbOf(thumb.pixel(thumb.width() / 2, thumb.height() / 2)), expected) <= 1);
    }

    void anEraseRedrawsItsCropThroughTheProfile()
    {
        const cv::Mat photo = patchPhoto();
        PhotoItem *item = open(writeWithProfile(m_dir.path(), "erase.png", photo, m_adobe));
        QVERIFY(item);
        QVERIFY(paintAndErase(item, QPointF(60, 80), QPointF(100, 85)));
        const cv::Mat erased = state(item).m_image.clone();
        QVERIFY(cv::norm(erased, photo, cv::NORM_INF) > 0);
        // The canvas was patched over the crop only, through the profile:
        // everywhere what Little CMS makes of the present pixels.
        QVERIFY(canvasAgainstLittleCms(item, canvas()) <= 1);
        item->getUndoStack()->undo();
        QVERIFY(canvasAgainstLittleCms(item, canvas()) <= 1);
        QCOMPARE(cv::norm(state(item).m_image, photo, cv::NORM_INF), 0.0);
    }

    void beforeAndAfterShowsTheFileThroughItsProfile()
    {
        const cv::Mat photo = patchPhoto();
        PhotoItem *item = open(writeWithProfile(m_dir.path(), "before.png", photo, m_adobe));
        QVERIFY(item);
        item->recvSrcRoi();
        const QImage before = ui->widget_mid->overlayImage();
        QCOMPARE(before.size(), QSize(photo.cols, photo.rows));
        const cv::Vec3b raw = photo.at<cv::Vec3b>(25, 25);
        QVERIFY(farthest(rgbOf(before.pixel(25, 25)), littleCmsSrgb(m_adobe, raw)) <= 1);
        item->recvRedRoi();
        QVERIFY(canvasAgainstLittleCms(item, canvas()) <= 1);
    }

    // ------------------------------------------------------------ 16 bits

    void aSixteenBitPhotoOpensWithItsMaster()
    {
        const cv::Mat wide = wideGradient();
        PhotoItem *item = open(writeEncoded(m_dir.path(), "wide.png", wide));
        QVERIFY(item);
        QCOMPARE(item->master().type(), CV_16UC3);
        QCOMPARE(cv::norm(item->master(), wide, cv::NORM_INF), 0.0);
        // The working copy is the master divided by 257, rounded.
        cv::Mat narrow;
        wide.convertTo(narrow, CV_8UC3, 1.0 / 257.0);
        QCOMPARE(cv::norm(item->getImage(), narrow, cv::NORM_INF), 0.0);
        // A 16-bit TIFF alike.
        PhotoItem *tiff = open(writeEncoded(m_dir.path(), "wide.tif", wide));
        QVERIFY(tiff);
        QCOMPARE(tiff->master().type(), CV_16UC3);
        QCOMPARE(cv::norm(tiff->master(), wide, cv::NORM_INF), 0.0);
        QCOMPARE(cv::norm(tiff->getImage(), narrow, cv::NORM_INF), 0.0);
        // An 8-bit colour photo keeps no master.
        PhotoItem *plain = open(writeImage(m_dir.path(), "narrow.png", narrow));
        QVERIFY(plain);
        QVERIFY(plain->master().empty());
    }

    // A photo that gave its pixels back (not shown, nothing unsaved) and
    // is shown again comes back whole: 16-bit master, working copy, and the
    // profile it is shown through.
    void aProfiledSixteenBitPhotoComesBackWhole()
    {
        const cv::Mat wide = wideGradient();
        PhotoItem *item = open(writeWithProfile(m_dir.path(), "back.png", wide, m_adobe));
        QVERIFY(item);
        QCOMPARE(item->master().type(), CV_16UC3);
        const cv::Mat working = item->getImage().clone();
        // Every photo not shown gives its pixels back if it may.
        m_w->setPixelBudget(0);
        QVERIFY(open(writeEncoded(m_dir.path(), "other.png", patchPhoto())));
        QTRY_VERIFY(!item->holdsPixels());
        QVERIFY(item->master().empty());
        QCOMPARE(item->metadata().icc, m_adobe); // kept while the pixels are away
        ui->listWidget->setCurrentRow(0);
        QVERIFY(item->holdsPixels());
        QCOMPARE(cv::norm(item->master(), wide, cv::NORM_INF), 0.0);
        QCOMPARE(cv::norm(item->getImage(), working, cv::NORM_INF), 0.0);
        QVERIFY(!item->display().isIdentity());
        QVERIFY(canvasAgainstLittleCms(item, canvas()) <= 1);
    }

    // A folder's row, listed from a reduced read, is read whole when shown:
    // with its 16-bit master and through its profile.
    void aFolderRowComesWithItsMasterAndProfile()
    {
        const QString folder = m_dir.path() + "/shoot";
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(!writeEncoded(folder, "a-small.png", patchPhoto(20, 10)).isEmpty());
        const cv::Mat wide = wideGradient();
        QVERIFY(!writeWithProfile(folder, "b-wide.png", wide, m_adobe).isEmpty());
        ModalAnswers answers;
        answers.then(ModalAnswers::files({folder}));
        ui->pushButton_select_folder->click();
        QTRY_COMPARE(m_w->photoItems().size(), 2);
        QTRY_VERIFY(!m_w->folderLoading());
        PhotoItem *item = m_w->photoItems().at(1);
        QCOMPARE(item->fileName(), QString("b-wide.png"));
        QCOMPARE(item->metadata().icc, m_adobe);
        ui->listWidget->setCurrentRow(1);
        QVERIFY(item->holdsPixels());
        QCOMPARE(cv::norm(item->master(), wide, cv::NORM_INF), 0.0);
        QCOMPARE(item->imageCols(), wide.cols);
        QVERIFY(canvasAgainstLittleCms(item, canvas()) <= 1);
    }

    void aSixteenBitEraseIsFilledAtFullPrecisionAndUndoneExactly()
    {
        const cv::Mat wide = wideGradient();
        PhotoItem *item = open(writeEncoded(m_dir.path(), "erase16.png", wide));
        QVERIFY(item);
        const cv::Mat narrowBefore = item->getImage().clone();
        QVERIFY(paintAndErase(item, QPointF(60, 70), QPointF(130, 80), 24));
        const cv::Mat erased = item->master().clone();
        QCOMPARE(erased.type(), CV_16UC3);
        // What the erase changed, at 8 and at 16 bits: the 16-bit changes lie
        // inside the hole (the 8-bit change, grown by the engine's 3 x 3),
        // every other sample is the file's, bit for bit.
        const cv::Mat hole8 = changedWhere(item->getImage(), narrowBefore);
        QVERIFY(cv::countNonZero(hole8) > 500);
        cv::Mat around;
        cv::dilate(hole8, around, cv::Mat::ones(5, 5, CV_8U));
        const cv::Mat changed16 = changedWhere(erased, wide);
        QCOMPARE(cv::countNonZero(changed16 & ~around), 0);
        // The hole holds more levels than 8 bits could give: no banding.
        for (int c = 0; c < 3; ++c)
            QVERIFY2(distinctLevels(erased, hole8, c) > 256,
                     qPrintable(QString("channel %1: %2 levels").arg(c).arg(distinctLevels(erased, hole8, c))));
        // Undo and redo are exact at 16 bits.
        QUndoStack *stack = item->getUndoStack();
        stack->undo();
        QCOMPARE(cv::norm(item->master(), wide, cv::NORM_INF), 0.0);
        QCOMPARE(cv::norm(item->getImage(), narrowBefore, cv::NORM_INF), 0.0);
        stack->redo();
        QCOMPARE(cv::norm(item->master(), erased, cv::NORM_INF), 0.0);
    }

    void anotherFillOfASixteenBitPhotoIsAtFullPrecisionToo()
    {
        const cv::Mat wide = wideGradient();
        PhotoItem *item = open(writeEncoded(m_dir.path(), "refill16.png", wide));
        QVERIFY(item);
        const cv::Mat narrowBefore = item->getImage().clone();
        QVERIFY(paintAndErase(item, QPointF(60, 70), QPointF(130, 80), 24));
        const cv::Mat firstFill = item->master().clone();
        QVERIFY(item->canFillAgain());
        QSignalSpy finished(item, &PhotoItem::sendThreadFinish);
        item->recvAnotherFillCommand();
        QVERIFY(!item->isJobActive() || finished.wait(kJobTimeoutMs));
        QUndoStack *stack = item->getUndoStack();
        QCOMPARE(stack->text(stack->count() - 1), QString("Another Fill"));
        const cv::Mat hole8 = changedWhere(item->getImage(), narrowBefore);
        cv::Mat around;
        cv::dilate(hole8, around, cv::Mat::ones(5, 5, CV_8U));
        QCOMPARE(cv::countNonZero(changedWhere(item->master(), wide) & ~around), 0);
        for (int c = 0; c < 3; ++c)
            QVERIFY(distinctLevels(item->master(), hole8, c) > 256);
        stack->undo();
        QCOMPARE(cv::norm(item->master(), firstFill, cv::NORM_INF), 0.0);
    }

    void aSixteenBitPhotoIsSavedAtSixteenBits()
    {
        const cv::Mat wide = wideGradient();
        PhotoItem *item = open(writeEncoded(m_dir.path(), "save16.png", wide));
        QVERIFY(item);
        QVERIFY(paintAndErase(item, QPointF(40, 40), QPointF(90, 50), 20));
        for (const char *suffix : {"png", "tif"}) {
            const QString path = m_dir.path() + "/saved16." + suffix;
            QCOMPARE(item->saveTo(path), QString());
            const photoio::Decoded back = photoio::decodeFile(path.toStdString(), photoio::Depth::Keep);
            QCOMPARE(back.pixels.type(), CV_16UC3);
            QCOMPARE(cv::norm(back.pixels, item->master(), cv::NORM_INF), 0.0);
        }
        // Nothing was lost: nothing to say.
        QCOMPARE(item->takeSaveNote(), QString());
    }

    void savingSixteenBitsAsJpegSaysSoOnce()
    {
        const cv::Mat wide = wideGradient(64, 48);
        PhotoItem *item = open(writeEncoded(m_dir.path(), "note.png", wide));
        QVERIFY(item);
        QStringList notes;
        const auto answerNote = [&notes](QWidget *w) {
            auto *box = qobject_cast<QMessageBox *>(w);
            if (!box)
                return false;
            notes << box->text();
            box->accept();
            return true;
        };
        ModalAnswers answers;
        const QString first = m_dir.path() + "/note.jpg";
        answers.then(ModalAnswers::files({first}));
        answers.then(answerNote);
        QCOMPARE(m_w->on_pushButton_save_clicked(), 0);
        QTRY_COMPARE(answers.pending(), 0);
        QCOMPARE(notes.size(), 1);
        QVERIFY2(notes[0].contains("note.jpg") && notes[0].contains("8 bits"), qPrintable(notes[0]));
        // The JPEG holds the working copy.
        const photoio::Decoded back = photoio::decodeFile(first.toStdString());
        QCOMPARE(back.pixels.type(), CV_8UC3);
        QVERIFY(cv::norm(back.pixels, item->getImage(), cv::NORM_INF) < 16);
        // Said once: the next 8-bit save of the photo says nothing more.
        answers.then(ModalAnswers::files({m_dir.path() + "/note.bmp"}));
        QCOMPARE(m_w->on_pushButton_save_clicked(), 0);
        QCOMPARE(answers.pending(), 0);
        QTest::qWait(100);
        QCOMPARE(notes.size(), 1);
        QVERIFY(QFile::exists(m_dir.path() + "/note.bmp"));
    }

    void alphaIsKeptOutsideTheHoleAndTheHoleIsOpaque_data()
    {
        QTest::addColumn<int>("depth");
        QTest::newRow("16 bits") << int(CV_16U);
        QTest::newRow("8 bits") << int(CV_8U);
    }

    void alphaIsKeptOutsideTheHoleAndTheHoleIsOpaque()
    {
        QFETCH(int, depth);
        const bool wide = depth == CV_16U;
        const double opaque = wide ? 65535.0 : 255.0;
        cv::Mat colour = wideGradient(), bgra;
        if (!wide)
            colour.convertTo(colour, CV_8UC3, 1.0 / 257.0);
        cv::cvtColor(colour, bgra, cv::COLOR_BGR2BGRA);
        // Alpha varying over the photo, nowhere opaque.
        cv::Mat alphaBefore(bgra.size(), CV_32F);
        for (int x = 0; x < bgra.cols; ++x)
            alphaBefore.col(x).setTo(opaque * (0.45 + 0.002 * x));
        alphaBefore.convertTo(alphaBefore, depth);
        cv::insertChannel(alphaBefore, bgra, 3);
        const QString name = wide ? "alpha16" : "alpha8";
        PhotoItem *item = open(writeEncoded(m_dir.path(), name + ".png", bgra));
        QVERIFY(item);
        QCOMPARE(item->master().type(), bgra.type());
        const cv::Mat narrowBefore = item->getImage().clone();
        QVERIFY(paintAndErase(item, QPointF(60, 70), QPointF(120, 75), 20));
        const cv::Mat hole8 = changedWhere(item->getImage(), narrowBefore);
        const QString path = m_dir.path() + "/" + name + "-out.png";
        QCOMPARE(item->saveTo(path), QString());
        const photoio::Decoded back = photoio::decodeFile(path.toStdString(), photoio::Depth::Keep);
        QCOMPARE(back.pixels.type(), bgra.type());
        cv::Mat alphaAfter;
        cv::extractChannel(back.pixels, alphaAfter, 3);
        cv::Mat around;
        cv::dilate(hole8, around, cv::Mat::ones(5, 5, CV_8U));
        const cv::Mat alphaChanged = changedWhere(alphaAfter, alphaBefore);
        QCOMPARE(cv::countNonZero(alphaChanged & ~around), 0);
        double lowest = 0;
        cv::minMaxLoc(alphaAfter, &lowest, nullptr, nullptr, nullptr, hole8);
        QCOMPARE(lowest, opaque);
        // As JPEG the alpha cannot go along: said in the note.
        QCOMPARE(item->saveTo(m_dir.path() + "/" + name + "-out.jpg"), QString());
        const QString note = item->takeSaveNote();
        QVERIFY2(note.contains("transparency") && note.contains("8 bits") == wide, qPrintable(note));
    }

    void stampOnASixteenBitPhotoIsCarriedIntoTheMaster()
    {
        const cv::Mat wide = wideGradient(120, 90);
        PhotoItem *item = open(writeEncoded(m_dir.path(), "stamp16.png", wide));
        QVERIFY(item);
        const cv::Mat narrowBefore = item->getImage().clone();
        item->recvSelectType(int(Tool::Stamp), 10, 0);
        item->recvLeftALTPressPoint(QPointF(20, 20));
        item->recvReleasePoint(QPointF(20, 20));
        item->recvLeftPressPoint(QPointF(80, 60));
        item->recvLeftMovePoint(QPointF(90, 62));
        item->recvReleasePoint(QPointF(90, 62));
        QUndoStack *stack = item->getUndoStack();
        QVERIFY(stack->count() >= 1);
        QCOMPARE(stack->text(stack->count() - 1), QString("stamp"));
        const cv::Mat changed8 = changedWhere(item->getImage(), narrowBefore);
        QVERIFY(cv::countNonZero(changed8) > 0);
        // Where the 8-bit copy changed, the master holds it widened; nowhere
        // else did the master change.
        cv::Mat widened;
        item->getImage().convertTo(widened, CV_16UC3, 257.0);
        const cv::Mat master = item->master();
        QCOMPARE(cv::countNonZero(changedWhere(master, wide) & ~changed8), 0);
        QCOMPARE(cv::countNonZero(changedWhere(master, widened) & changed8), 0);
        stack->setIndex(0);
        QCOMPARE(cv::norm(item->master(), wide, cv::NORM_INF), 0.0);
    }
};

MERVANE_WINDOW_TEST_MAIN(TestColour)
#include "tst_colour.moc"
