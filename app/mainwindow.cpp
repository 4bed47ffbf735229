// Construction, interface scale and geometry, and the road from a file to a
// photo on the canvas.
#include "mainwindow.h"
#include "skin.h"
#include "ui_mainwindow.h"
#include "globals.h"
#include "removedialog.h"
#include "keyboardgrabpause.h"
#include "jobdialog.h"
#include "photoitem.h"
#include "photorow.h"
#include "pathbytes.h"
#include "photoio.h"
#include "folderloader.h"
#include "studydialog.h"

#include <QDebug>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMessageBox>
#include <QScreen>
#include <QTimer>
#include <QUndoGroup>
#include <QUndoStack>
#include <opencv2/imgcodecs.hpp>

namespace {

void fixSize(QWidget *w, int width, int height)
{
    w->setFixedSize(Skin::scaled(width), Skin::scaled(height));
}

constexpr int kMaxImageSide = PhotoItem::kMaxImageSide;

} // namespace

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , ui(new Ui::MainWindow)
{
    ui->setupUi(this);
    ui->stackedWidget->setCurrentIndex(0);
    // The work page refuses drops itself, so that they reach the window.
    ui->page->setAcceptDrops(false);

    setAcceptDrops(true);
    setWindowFlags(Qt::FramelessWindowHint | Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint);
    setWindowTitle(QStringLiteral("Mervane"));

    g_brand = 1;
    resetToolStyles();
    computeUiScale();
    loadLinks();
    applyGeometry();
    loadLanguages();
    setTopRightUI();
    applySkin();

    // The window owns its dialogs; both are parentless windows of their own.
    m_studyDialog = new StudyDialog;

    // The canvas's size settles with the layout, possibly after a fit.
    ui->widget_front->installEventFilter(this);

    m_undoGroup = new QUndoGroup(this);
    m_historyMenu = ui->pushButton_his->getMenu();
    ui->pushButton_his->setUndoGroup(m_undoGroup);
    addEditingCommands(m_topMenu->font());
    addSaveSettings(m_topMenu->font());
    // The one question box, parentless, reused for every question.
    m_removeDialog = new RemoveDialog;

    m_spaceHeld = false;
    m_isNormalSize = true;
    m_rightPanelOpen = true;
    m_toolType = Tool::Brush;
    m_colorType = Colour::Mask;
    m_brushSize = 30;
    m_scale = 1.0;
    m_dragging = false;
    ui->stackedWidget->setCurrentIndex(1);
    ui->verticalSlider->setValue(30);

    m_location = readReg(QStringLiteral("location"));

    retranslateTexts();
    g_language = QStringLiteral("EN");

    ui->pushButton_subline->hide();
    QTimer::singleShot(0, this, &MainWindow::displayTutorial);
    resetStampSliders();

    // Every key comes to the window, whichever widget has the focus.
    grabKeyboard();
}

MainWindow::~MainWindow()
{
    // The folder's reads stop before the photos go.
    delete m_folderLoader;
    m_folderLoader = nullptr;
    if (QWidget::keyboardGrabber() == this)
        releaseKeyboard();
    delete m_removeDialog;
    qDeleteAll(m_photoItems);
    m_photoItems.clear();
    // Made without a parent, so they are ours to end.
    delete m_studyDialog;
    delete m_languageMenu;
    delete ui;
}

// ---------------------------------------------------------------- scale

double MainWindow::uiScaleFor(double logicalDpiX, double logicalDpiY, int availableWidth, int availableHeight)
{
    const float s = float(std::min(logicalDpiX, logicalDpiY)) / 96.0f;
    if (!(1256 * s > availableWidth) && !(740 * s > availableHeight))
        return s;
    // Too little room: fall back through 1.5 and 1.25, never below 1.0.
    if (s > 1.5f) {
        if (!(1884 > availableWidth) && !(1110 > availableHeight))
            return 1.5;
    }
    if (!(1570 > availableWidth) && !(925 > availableHeight))
        return 1.25;
    return 1.0;
}

void MainWindow::computeUiScale()
{
    QScreen *screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    m_availableGeometry = screen->availableGeometry();
    g_uiScale = uiScaleFor(screen->logicalDotsPerInchX(), screen->logicalDotsPerInchY(),
                           m_availableGeometry.width(), m_availableGeometry.height());
}

void MainWindow::applyGeometry()
{
    QScreen *screen = QGuiApplication::primaryScreen();
    const QSize desktop = screen ? screen->virtualSize() : QSize(Skin::scaled(1256), Skin::scaled(740));
    setGeometry(int((desktop.width() - 1256 * g_uiScale) * 0.5), int((desktop.height() - 740 * g_uiScale) * 0.5),
                Skin::scaled(1256), Skin::scaled(740));
    ui->centralWidget->setGeometry(0, 0, Skin::scaled(1256), Skin::scaled(740));
    applyDesignSizes();
}

void MainWindow::applyDesignSizes()
{
    ui->frame_header->setFixedHeight(Skin::scaled(48));
    fixSize(ui->label_ico, 24, 24);
    fixSize(ui->label_title, 119, 24);
    fixSize(ui->label_version, 130, 20);
    for (QWidget *w : {static_cast<QWidget *>(ui->pushButton_dropdown), static_cast<QWidget *>(ui->pushButton_min),
                       static_cast<QWidget *>(ui->pushButton_max), static_cast<QWidget *>(ui->pushButton_close)})
        fixSize(w, 19, 19);
    ui->frame_left->setFixedWidth(Skin::scaled(81));
    fixSize(ui->label_5, 81, 5);
    fixSize(ui->label_3, 81, 15);
    fixSize(ui->label, 32, 13);
    fixSize(ui->label_2, 32, 13);
    for (QWidget *w : {ui->pushButton_penplus, ui->pushButton_sub, ui->pushButton_rect, ui->pushButton_noose,
                       ui->pushButton_poly, ui->pushButton_stamp, ui->pushButton_clone, ui->pushButton_subline,
                       ui->pushButton_a, ui->pushButton_plus, ui->pushButton_sub_2, ui->pushButton_1_1,
                       ui->pushButton_maxa, ui->pushButton_handle, ui->pushButton_undo, ui->pushButton_redo,
                       static_cast<QPushButton *>(ui->pushButton_his), ui->pushButton_save, ui->pushButton_print})
        fixSize(w, 32, 32);
    fixSize(ui->verticalSlider, 32, 87);
    fixSize(ui->pushButton_red, 27, 27);
    fixSize(ui->pushButton_green, 27, 27);
    ui->frame_3->setFixedHeight(Skin::scaled(32));
    ui->frame_bianyuan->setFixedWidth(Skin::scaled(34));
    fixSize(ui->pushButton_eraser, 142, 65);
    fixSize(ui->pushButton_select_photo, 110, 110);
    fixSize(ui->pushButton_select_folder, 110, 110);
    fixSize(ui->label_selectfile, 119, 15);
    fixSize(ui->label_selectfolder, 119, 15);
    ui->frame_fangxiang->setFixedWidth(Skin::scaled(18));
    fixSize(ui->pushButton_fangxiang, 18, 18);
    ui->frame_right->setFixedWidth(Skin::scaled(248));
    ui->listWidget->setFixedWidth(Skin::scaled(220));
    ui->listWidget->setSpacing(10);
    fixSize(ui->pushButton_add, 62, 60);
    fixSize(ui->pushButton_remove, 116, 22);
    fixSize(ui->label_stamp_1, 54, 16);
    fixSize(ui->label_stamp_3, 54, 16);
    fixSize(ui->label_stamp_4, 54, 16);
    fixSize(ui->label_stamp_2, 31, 16); // narrower than its twin on purpose
    fixSize(ui->horizontalSlider, 100, 16);
    fixSize(ui->horizontalSlider_2, 100, 16);
    fixSize(ui->pushButton_stamp_1, 24, 24);
    fixSize(ui->pushButton_stamp_2, 24, 24);
    ui->label_display_scale->setFixedWidth(Skin::scaled(90));
}

// ---------------------------------------------------------------- opening

void MainWindow::on_pushButton_select_photo_clicked()
{
    if (!m_location.isEmpty() && m_openDir.isEmpty())
        m_openDir = m_location;
    const QString filter = QString::fromLatin1(openFilter());
    {
        KeyboardGrabPause pause(this);
        m_lastPhotoPath = QFileDialog::getOpenFileName(this, tr("Open Image"), m_openDir, filter);
    }
    if (!m_lastPhotoPath.isEmpty())
        openPhoto(m_lastPhotoPath);
}

void MainWindow::openPhoto(const QString &path)
{
    noteOpenedPath(path);
    openGuarded(path, [this, &path] { openReadablePhoto(path); });
}

void MainWindow::noteOpenedPath(const QString &path)
{
    // The directory moves before the file is read, so a failed open moves it too.
    const QFileInfo info(path);
    m_saveDir = info.absolutePath();
    setReg(QStringLiteral("location"), m_saveDir);
    m_openDir = m_saveDir;
}

void MainWindow::openGuarded(const QString &path, const std::function<void()> &open)
{
    // Running out of memory on a huge photo, or an OpenCV error, ends the
    // open with a message instead of the program.
    try {
        open();
    } catch (const std::bad_alloc &) {
        KeyboardGrabPause pause(this);
        QMessageBox::warning(nullptr, tr("Warnning"), tr("Not enough memory to open file %1").arg(path),
                             QMessageBox::Ok);
    } catch (const cv::Exception &e) {
        qDebug() << "open failed:" << path << e.what();
        KeyboardGrabPause pause(this);
        QMessageBox::warning(nullptr, tr("Warnning"), tr("Cannot read file %1").arg(path), QMessageBox::Ok);
    }
}

void MainWindow::showAsOpened(int row)
{
    if (row < 0 || row >= m_photoItems.size())
        return;
    ui->listWidget->setCurrentRow(row);
    setSizeControlVisible(true);
}

void MainWindow::openReadablePhoto(const QString &path)
{
    // One decode: the readability test's pixels become the photo's.
    photoio::FileIdentity identity;
    photoio::Decoded decoded = readPhotoFile(path, identity);
    openDecodedPhoto(path, decoded, identity);
}

void MainWindow::openDecodedPhoto(const QString &path, photoio::Decoded &decoded,
                                  const photoio::FileIdentity &identity, QImage canvasImage,
                                  const cv::Mat &thumbnail)
{
    const bool readable =
        decoded.readable() && decoded.pixels.cols <= kMaxImageSide && decoded.pixels.rows <= kMaxImageSide;
    const bool damaged = decoded.report.damaged;
    if (damaged)
        qDebug() << "damaged file:" << path << QString::fromStdString(decoded.report.damage);
    if (!readable) {
        KeyboardGrabPause pause(this);
        QMessageBox::warning(nullptr, tr("Warnning"), tr("Cannot read file %1").arg(path), QMessageBox::Ok);
        return;
    }

    PhotoItem *item = new PhotoItem(ui->widget_back, ui->widget_mid, ui->widget_front, ui->widget_front_green, path,
                                    keptPixels(decoded), ui->listWidget, nullptr,
                                    QPixmap::fromImage(std::move(canvasImage)));
    item->setFileIdentity(identity);
    addPhotoRow(ui->listWidget, item, thumbnail);
    adoptPhoto(item);
    showPhoto(item);
    ui->stackedWidget->setCurrentIndex(0);
    // The work page has just been shown: lay it out now, so that the fit
    // below measures the canvas as the user will see it.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);

    // Back to the brush in red. The colour buttons keep their look.
    fallBackToBrush();

    // The row becomes current without a switch: the photo is bound and on
    // the canvas already (its construction put it there), so one conversion
    // of the whole photo is all an open costs.
    setCurrentRowQuietly(ui->listWidget->row(item->listItem()));
    on_pushButton_maxa_clicked();
    resetStampSliders();
    setSizeControlVisible(true);

    // What could be read is open; the user hears once that the rest is the
    // decoder's filler.
    if (damaged)
        warnDamaged(path);
}

void MainWindow::warnDamaged(const QString &path)
{
    KeyboardGrabPause pause(this);
    QMessageBox::warning(nullptr, tr("Warnning"),
                         tr("The file %1 is damaged: only part of the photo could be read.").arg(path),
                         QMessageBox::Ok);
}

void MainWindow::adoptPhoto(PhotoItem *item)
{
    // The photo's progress dialog, shown while its jobs run.
    new JobDialog(item);
    m_photoItems.append(item);
    m_undoGroup->addStack(item->getUndoStack());
    // Every change of the pixels is an entry, an undo or a redo.
    connect(item->getUndoStack(), &QUndoStack::indexChanged, item, &PhotoItem::refreshThumbnail);
}

// ---------------------------------------------------------------- pixels away

bool MainWindow::readPixelsFor(PhotoItem *item)
{
    PhotoItem::PixelsBack back = PhotoItem::PixelsBack::Unreadable;
    bool outOfMemory = false;
    try {
        back = item->takePixelsBack();
    } catch (const std::bad_alloc &) {
        outOfMemory = true;
    } catch (const cv::Exception &e) {
        // A decoder's error: the file cannot be read, memory is not the cause.
        qDebug() << "read back failed:" << item->filePath() << e.what();
        back = PhotoItem::PixelsBack::Unreadable;
    }
    QString text;
    const QString path = item->filePath();
    if (outOfMemory) {
        text = tr("Not enough memory to open file %1").arg(path);
    } else {
        switch (back) {
        case PhotoItem::PixelsBack::Held:
        case PhotoItem::PixelsBack::Read:
            return true;
        case PhotoItem::PixelsBack::Changed:
            text = tr("The file %1 has changed since it was opened, so the photo cannot be shown as it was. "
                      "Close its row and open the file again to work on it.")
                       .arg(path);
            break;
        case PhotoItem::PixelsBack::Gone:
            text = tr("The file %1 is no longer there, so the photo cannot be shown. "
                      "Put the file back, or close its row.")
                       .arg(path);
            break;
        case PhotoItem::PixelsBack::Unreadable:
            text = tr("Cannot read file %1").arg(path);
            break;
        }
    }
    KeyboardGrabPause pause(this);
    QMessageBox::warning(nullptr, tr("Warnning"), text, QMessageBox::Ok);
    return false;
}

void MainWindow::givePixelsBackBeyondBudget()
{
    // The most recently shown photos keep their pixels up to the budget (the
    // shown one always); beyond it, those that may give them back do.
    qint64 held = 0;
    for (PhotoItem *p : qAsConst(m_recentlyShown)) {
        if (!p->holdsPixels())
            continue;
        const qint64 bytes = qint64(p->pixelBytes());
        if (p != m_shownItem && held + bytes > m_pixelBudget && p->givePixelsBack())
            continue;
        held += bytes;
    }
}

void MainWindow::forgetPhoto(PhotoItem *item)
{
    m_recentlyShown.removeAll(item);
    if (m_shownItem == item)
        m_shownItem = nullptr;
    if (m_readingAheadFor == item)
        m_readingAheadFor = nullptr; // its read, when done, is dropped
}

// ---------------------------------------------------------------- wiring

namespace {

template <typename Sender, typename Signal, typename Receiver, typename Slot>
void wire(bool on, Sender *sender, Signal signal, Receiver *receiver, Slot slot)
{
    if (on)
        QObject::connect(sender, signal, receiver, slot, Qt::UniqueConnection);
    else
        QObject::disconnect(sender, signal, receiver, slot);
}

// The rows shared by both front canvases.
void wireCanvas(bool on, CustomWidget *canvas, PhotoItem *item, MainWindow *window)
{
    wire(on, canvas, &CustomWidget::sendLeftMoveChangePoint, item, &PhotoItem::recvLeftMoveChangePoint);
    wire(on, canvas, &CustomWidget::sendLeftMoveNoPoint, item, &PhotoItem::recvLeftMoveNoPoint);
    wire(on, canvas, &CustomWidget::sendLeftMovePoint, item, &PhotoItem::recvLeftMovePoint);
    wire(on, canvas, &CustomWidget::sendLeftPressPoint, item, &PhotoItem::recvLeftPressPoint);
    wire(on, canvas, &CustomWidget::sendLeftALTPressPoint, item, &PhotoItem::recvLeftALTPressPoint);
    wire(on, canvas, &CustomWidget::sendReleasePoint, item, &PhotoItem::recvReleasePoint);
    wire(on, canvas, &CustomWidget::senddoublepress, item, &PhotoItem::recvDoublePress);
    wire(on, canvas, &CustomWidget::getScale, window, &MainWindow::recvWheelSetScale);
    wire(on, canvas, &CustomWidget::sendMove, window, &MainWindow::recvWidgetMove);
    wire(on, window, &MainWindow::sendSelectType, canvas, &CustomWidget::recvSelectType);
    wire(on, window, &MainWindow::sendaltkeyPress, canvas, &CustomWidget::recvaltPress);
    wire(on, window, &MainWindow::sendaltkeyRelease, canvas, &CustomWidget::recvaltRelease);
    wire(on, canvas, &CustomWidget::sendFit, window, &MainWindow::recvFit);
    wire(on, canvas, &CustomWidget::send100, window, &MainWindow::recv100);
    wire(on, canvas, &CustomWidget::send200, window, &MainWindow::recv200);
    wire(on, canvas, &CustomWidget::sendzoomin, window, &MainWindow::recvzoomin);
    wire(on, canvas, &CustomWidget::sendzoomout, window, &MainWindow::recvzoomout);
}

void wireWindow(bool on, MainWindow *window, PhotoItem *item)
{
    wire(on, window, &MainWindow::sendCloneCommand, item, &PhotoItem::recvCloneCommand);
    wire(on, window, &MainWindow::sendEraseCommand, item, &PhotoItem::recvEraseCommand);
    wire(on, window, &MainWindow::sendSelectType, item, &PhotoItem::recvSelectType);
    wire(on, window, &MainWindow::getGreenRoi, item, &PhotoItem::recvGreenRoi);
    wire(on, window, &MainWindow::getRedRoi, item, &PhotoItem::recvRedRoi);
    wire(on, window, &MainWindow::getSrcRoi, item, &PhotoItem::recvSrcRoi);
    wire(on, window, &MainWindow::senddoublepress, item, &PhotoItem::recvDoublePress);
    wire(on, item, &PhotoItem::sendThreadFinish, window, &MainWindow::RecvThreadFinish);
    wire(on, item, &PhotoItem::jobRefused, window, &MainWindow::RecvJobRefused);
    wire(on, item, &PhotoItem::jobFailed, window, &MainWindow::RecvJobFailed);
    wire(on, item, &PhotoItem::sendDeleteItem, window, &MainWindow::RecvDeleteItem);
    wire(on, item, &PhotoItem::sendOverStampSelect, window, &MainWindow::RecvOverStampSelect);
    wire(on, item, &PhotoItem::jobStarted, window, &MainWindow::updateEditingCommands);
    wire(on, item, &PhotoItem::jobEnded, window, &MainWindow::updateEditingCommands);
}

} // namespace

void MainWindow::bindPhoto(PhotoItem *item)
{
    if (!item)
        return;
    wireCanvas(true, ui->widget_front, item, this);
    wireCanvas(true, ui->widget_front_green, item, this);
    wireWindow(true, this, item);
}

void MainWindow::unbindPhoto(PhotoItem *item)
{
    if (!item)
        return;
    wireCanvas(false, ui->widget_front, item, this);
    wireCanvas(false, ui->widget_front_green, item, this);
    wireWindow(false, this, item);
}

void MainWindow::showPhoto(PhotoItem *item)
{
    for (PhotoItem *p : qAsConst(m_photoItems))
        unbindPhoto(p);
    m_shownItem = item;
    if (!item)
        return;
    bindPhoto(item);
    m_undoGroup->setActiveStack(item->getUndoStack());
    m_recentlyShown.removeAll(item);
    m_recentlyShown.prepend(item);
    givePixelsBackBeyondBudget();
}

void MainWindow::startFreshOnPhoto(bool showSizeControl)
{
    fallBackToBrush();
    if (showSizeControl)
        setSizeControlVisible(true);
    recvFit();
    resetStampSliders();
}

void MainWindow::resetStampSliders()
{
    ui->horizontalSlider->setValue(100);
    ui->horizontalSlider_2->setValue(100);
}

PhotoItem *MainWindow::currentItem() const
{
    const int row = ui->listWidget->currentRow();
    if (row < 0 || row >= m_photoItems.size())
        return nullptr;
    return m_photoItems.at(row);
}
