// A photo's colour profile in the window: the canvas, the list row, the
// before-and-after view and the printed page show the pixels converted from
// the profile to sRGB (the numbers Little CMS gives), while the engine, the
// undo entries and the file keep the photo's own numbers. A photo without a
// profile is shown as stored.
#include <QListWidget>
#include <QSignalSpy>
#include <QUndoStack>
#include <QtTest>
#include <lcms2.h>
#include <opencv2/imgproc.hpp>

#include <fstream>
#include <iterator>

#include "customwidget.h"
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
// compensation), as red-green-blue.
cv::Vec3b littleCmsSrgb(const std::vector<uint8_t> &icc, const cv::Vec3b &bgr)
{
    cmsHPROFILE in = cmsOpenProfileFromMem(icc.data(), cmsUInt32Number(icc.size()));
    cmsHPROFILE out = cmsCreate_sRGBProfile();
    cmsHTRANSFORM t = cmsCreateTransform(in, TYPE_RGB_8, out, TYPE_RGB_8, INTENT_PERCEPTUAL,
                                         cmsFLAGS_NOCACHE | cmsFLAGS_BLACKPOINTCOMPENSATION);
    const uchar rgb[3] = {bgr[2], bgr[1], bgr[0]};
    uchar converted[3] = {0, 0, 0};
    cmsDoTransform(t, rgb, converted, 1);
    cmsDeleteTransform(t);
    cmsCloseProfile(in);
    cmsCloseProfile(out);
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
        for (int y = 0; y < image.rows; y += 3)
            for (int x = 0; x < image.cols; x += 3)
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
};

MERVANE_WINDOW_TEST_MAIN(TestColour)
#include "tst_colour.moc"
