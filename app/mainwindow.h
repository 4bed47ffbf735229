#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include <QImage>
#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QRect>
#include <QString>
#include <QStringList>
#include <QTranslator>

#include <opencv2/core.hpp>

#include <functional>

#include "tools.h"

namespace Ui { class MainWindow; }
namespace photoio {
struct Decoded;
struct FileIdentity;
}

class QAction;
class QFont;
class QListWidgetItem;
class QMenu;
class QPrinter;
class QPushButton;
class QUndoGroup;
class PhotoItem;
class FolderLoader;
struct ListedPhoto;
class RemoveDialog;
struct SaveSettings;
class StudyDialog;

// The zoom steps of the view commands, descending.
extern const double kZoomLadder[17];

// The one main window: a frameless frame around the tool column, the canvas
// stack with its command row, and the photo list.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    // Start-up steps.
    void computeUiScale();
    // The scale rule alone, for a screen of the given DPI and available size.
    static double uiScaleFor(double logicalDpiX, double logicalDpiY, int availableWidth, int availableHeight);
    void applyGeometry();

    // Opening a photo: every road in ends in openPhoto.
    void openPhoto(const QString &path);
    // Shows the photo of a row as opening it would leave it: the row current,
    // the brush in red with its size control shown (a plain switch of rows
    // leaves the size control hidden).
    void showAsOpened(int row);
    void bindPhoto(PhotoItem *item);
    void unbindPhoto(PhotoItem *item);
    // The photo the window shows, or null.
    PhotoItem *currentItem() const;
    // Binds this photo alone to the canvas and the window and makes its undo
    // stack the active one (null: binds none).
    void showPhoto(PhotoItem *item);
    // After a photo change: the red brush, a fitted view, full stamp
    // sliders, and the size control if asked.
    void startFreshOnPhoto(bool showSizeControl);
    void resetStampSliders();

    void resetToolStyles();

    // Full-size pixels the photos not shown may hold, the shown one's
    // included: beyond it, the least recently shown photos that may give
    // theirs back do (PhotoItem::givePixelsBack) and read them again when
    // shown. About six photos of 24 megapixels.
    static constexpr qint64 kDefaultPixelBudget = 400ll << 20;
    void setPixelBudget(qint64 bytes) { m_pixelBudget = bytes; }
    qint64 pixelBudget() const { return m_pixelBudget; }
    // A folder's files are still being read or listed.
    bool folderLoading() const;

    // Photo list. The switch to the current row; a plain member, since no
    // widget of that name exists to bind it to by name.
    void on_listwidget_current_change();
    int RecvDeleteItem();
    // The suffix test of the folder command and of drag-enter.
    static bool hasAcceptedSuffix(const QString &fileName);
    // The filter of both open dialogs (untranslated).
    static const char *openFilter();
    // The settings of a window save, kept in the per-user store
    // (mainwindow_settings.cpp): whether the photo's metadata is left out,
    // and the quality of the lossy formats (0: each format's default).
    static bool stripMetadataSetting();
    void setStripMetadataSetting(bool strip);
    static int saveQualitySetting();
    void setSaveQualitySetting(int quality);
    SaveSettings saveSettings() const;
    // Their menu entries (mainwindow_menu.cpp).
    void addSaveSettings(const QFont &font);
    void retranslateSaveSettings();
    QAction *stripMetadataAction() const { return m_stripMetadataAction; }
    QAction *saveQualityAction() const { return m_saveQualityAction; }
    // Asks for the quality of the lossy formats (mainwindow_save.cpp).
    void chooseSaveQuality();


    // Menus, languages, links and settings.
    void setTopRightUI();
    void loadLinks();
    void loadLanguages();
    void retranslateTexts();
    void setReg(const QString &key, const QString &value);
    QString readReg(const QString &key);
    static bool isAllowedLinkHost(const QString &url);
    // The editing entries of the menu (mainwindow_editing.cpp).
    void addEditingCommands(const QFont &font);
    void retranslateEditingCommands();
    // Masks in the eraser's convention; each returns the message for the
    // user, empty when done. A refused load changes nothing.
    QString loadMaskFrom(const QString &path);
    QString saveMaskTo(const QString &path);
    static QString maskPathFor(const QString &photoPath);
    static QString donorPathBeside(const QString &maskPath);
    QAction *loadMaskAction() const { return m_loadMaskAction; }
    QAction *saveMaskAction() const { return m_saveMaskAction; }
    QAction *growAction() const { return m_growAction; }
    QAction *shrinkAction() const { return m_shrinkAction; }
    QAction *anotherFillAction() const { return m_anotherFillAction; }

    // Read access for the parts of the program that look in, and for tests.
    Ui::MainWindow *form() const { return ui; }
    const QList<PhotoItem *> &photoItems() const { return m_photoItems; }
    QUndoGroup *undoGroup() const { return m_undoGroup; }
    double displayScale() const { return m_scale; }
    Tool toolType() const { return m_toolType; }
    Colour colorType() const { return m_colorType; }
    int brushSize() const { return m_brushSize; }
    QString openDir() const { return m_openDir; }
    QString saveDir() const { return m_saveDir; }
    QRect availableGeometry() const { return m_availableGeometry; }
    bool rightPanelOpen() const { return m_rightPanelOpen; }
    QString location() const { return m_location; }
    bool spaceHeld() const { return m_spaceHeld; }
    Tool prevTool() const { return m_prevTool; }
    bool dragging() const { return m_dragging; }
    QPoint dragOffset() const { return QPoint(m_dragX, m_dragY); }
    bool isNormalSize() const { return m_isNormalSize; }
    RemoveDialog *removeDialog() const { return m_removeDialog; }

signals:
    // Part of the window's published signals; connected, no control emits it.
    void sendCloneCommand();
    void sendEraseCommand();
    void sendSelectType(int type, int size, int colorType);
    void getGreenRoi();
    void getRedRoi();
    void getSrcRoi();
    void sendaltkeyPress();
    void sendaltkeyRelease();
    // Published and connected; the canvases deliver double clicks themselves.
    void senddoublepress();

public slots:
    // From the bound photo.
    void RecvThreadFinish();
    void RecvOverStampSelect();
    // The bound photo turned an Erase away, or its job failed: the user is
    // told why in a box (the photo and its undo history are as they were).
    void RecvJobRefused(const QString &reason);
    void RecvJobFailed(const QString &reason);
    // From the canvases: view commands.
    void recvWheelSetScale(int value);
    void recvWidgetMove(int width, int height);
    void recvFit();
    void recv100();
    void recv200();
    void recvzoomin();
    void recvzoomout();

    // Opening.
    void on_pushButton_select_photo_clicked();
    // Photo list.
    void on_pushButton_add_clicked();
    void on_pushButton_select_folder_clicked();
    void on_listWidget_itemClicked(QListWidgetItem *item);
    void on_listWidget_currentRowChanged(int currentRow);
    void on_pushButton_remove_clicked();
    // Tool panel.
    void on_pushButton_rect_clicked();
    void on_pushButton_noose_clicked();
    void on_pushButton_poly_clicked();
    void on_pushButton_penplus_clicked();
    void on_pushButton_sub_clicked();
    void on_pushButton_subline_clicked();
    void on_pushButton_stamp_clicked();
    void on_pushButton_clone_clicked();
    void on_pushButton_handle_clicked();
    void on_pushButton_stamp_1_clicked();
    void on_pushButton_stamp_2_clicked();
    void on_pushButton_red_clicked();
    void on_pushButton_green_clicked();
    void on_pushButton_eraser_clicked();
    void on_verticalSlider_valueChanged(int value);
    void on_horizontalSlider_valueChanged(int value);
    void on_horizontalSlider_2_valueChanged(int value);
    // View commands.
    void on_pushButton_plus_clicked();
    void on_pushButton_sub_2_clicked();
    void on_pushButton_1_1_clicked();
    void on_pushButton_maxa_clicked();
    void on_horizontalScrollBar_valueChanged(int value);
    void on_verticalScrollBar_valueChanged(int value);
    void on_pushButton_a_pressed();
    void on_pushButton_a_released();
    void on_pushButton_fangxiang_clicked();
    // Undo buttons.
    void on_pushButton_undo_clicked();
    void on_pushButton_redo_clicked();
    // Save and print.
    int on_pushButton_save_clicked();
    void on_pushButton_print_clicked();
    void printPreviewSlot(QPrinter *printerPixmap);
    // Menus and links.
    void onMenu_1_Triggered(QAction *action);
    void open_web();
    void open_tech();
    void open_tutorial();
    void open_update();
    void open_about();
    void displayTutorial();
    // Window.
    void on_pushButton_min_clicked();
    void on_pushButton_max_clicked();
    void on_pushButton_close_clicked();
    // Editing commands: greyed or not as they apply to the photo shown.
    void updateEditingCommands();
    void loadMask();
    void saveMask();
    void growSelection();
    void shrinkSelection();
    void anotherFill();
    // Where the progress dialog of the next job opens.
    void placeJobDialog();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    // Keeps a fitted photo fitted when the canvas changes size.
    bool eventFilter(QObject *watched, QEvent *event) override;

private slots:
    // Lists the next file the folder's worker read (one per pass of the
    // event loop).
    void takeListedPhotos();

private:
    // openPhoto's body, inside its guard against running out of memory.
    void openReadablePhoto(const QString &path);
    // Opening's steps: the directories move; the open runs with running
    // out of memory or a decoder's error told as a message; a decoded file
    // becomes the shown photo, or is refused; the window takes a photo in.
    void noteOpenedPath(const QString &path);
    void openGuarded(const QString &path, const std::function<void()> &open);
    // canvasImage, thumbnail: the photo converted for the canvas and its
    // row's thumbnail (rowThumbnail) already, if they were made.
    void openDecodedPhoto(const QString &path, photoio::Decoded &decoded, const photoio::FileIdentity &identity,
                          QImage canvasImage = QImage(), const cv::Mat &thumbnail = cv::Mat());
    void adoptPhoto(PhotoItem *item);
    void warnDamaged(const QString &path);
    // A folder's file, read by the worker: a row, or the refusal.
    void listFolderPhoto(ListedPhoto &photo);
    // The worker that reads a folder's files and photos ahead, made on first use.
    FolderLoader *loader();
    void stopFolderLoading();
    // The photo's pixels, read back if they were given back; false, the
    // user told why, when they cannot be.
    bool readPixelsFor(PhotoItem *item);
    void givePixelsBackBeyondBudget();
    // After a switch: the next row's photo is read on the worker, if its
    // pixels fit in the budget, so that going on to it costs no decode.
    void readNextAhead();
    void takeReadAhead(ListedPhoto &photo);
    // A photo leaves the window.
    void forgetPhoto(PhotoItem *item);
    // After a switch that could not read its photo: the shown photo's row
    // becomes current again.
    void returnToShownPhoto();
    // After a row was removed: shows the photo of the current row, or the
    // nearest that can be shown.
    void showAfterRemoval();
    // The photo nearest to the row that holds its pixels becomes current and
    // is shown; if none does, none is, and the welcome page shows.
    void showNearestHoldingPixels(int row);
    // Makes a row current without the switch to it (its photo is shown
    // already, or none is to be); the row's other listeners hear it.
    void setCurrentRowQuietly(int row);
    // Start-up helpers.
    void applySkin();
    void setFoldArrowLook();
    void applyDesignSizes();
    // View helpers.
    void updateZoomViews();
    void setScaleOnViews();
    void updateScaleLabel();
    // Tool panel helpers.
    void setToolLook(QPushButton *button, bool selected);
    void setColorLooks(bool redSelected, bool greenSelected);
    void setSizeControlVisible(bool visible);
    void setStampStripVisible(bool visible);
    void selectTool(Tool tool, QPushButton *button);
    // Tells the tool, size and colour in force to the photo and the canvases.
    void tellTool();
    void fallBackToBrush();
    // Keyboard helpers.
    void restoreToolAfterSpace();
    void cancelSelectionUnderWay();
    QAction *addEditingAction(const QFont &font, const char *shortcut, void (MainWindow::*slot)());
    // After a save into a format that holds no metadata, the one note of the session.
    void noteMetadataLeftOut(const PhotoItem &item, const SaveSettings &settings, const QString &target);

    Ui::MainWindow *ui;
    int m_dragX = 0;
    int m_dragY = 0;
    bool m_dragging = false;
    bool m_spaceHeld = false;
    bool m_isNormalSize = true;
    bool m_rightPanelOpen = true;
    QString m_lastPhotoPath;
    QString m_location;
    QString m_openDir;
    RemoveDialog *m_removeDialog = nullptr;
    StudyDialog *m_studyDialog = nullptr;
    QList<PhotoItem *> m_photoItems;
    QUndoGroup *m_undoGroup = nullptr;
    int m_brushSize = 30;
    Tool m_prevTool = Tool::Brush;
    Tool m_toolType = Tool::Brush;
    Colour m_colorType = Colour::Mask;
    double m_scale = 1.0;
    // The view shows the photo fitted to the canvas (the last view command
    // was a fit); a change of the canvas's size fits it again.
    bool m_fitted = false;
    QMenu *m_topMenu = nullptr;
    QAction *m_websiteAction = nullptr;
    QAction *m_supportAction = nullptr;
    QAction *m_tutorialAction = nullptr;
    QAction *m_loadMaskAction = nullptr;
    QAction *m_saveMaskAction = nullptr;
    QAction *m_growAction = nullptr;
    QAction *m_shrinkAction = nullptr;
    QAction *m_anotherFillAction = nullptr;
    QAction *m_stripMetadataAction = nullptr;
    QAction *m_saveQualityAction = nullptr;
    QMenu *m_languageMenu = nullptr;
    QMenu *m_historyMenu = nullptr;
    QRect m_availableGeometry{0, 0, -1, -1};
    QTranslator m_translator;
    QString m_appDir;
    QStringList m_langCodes;
    QStringList m_langNames;
    QString m_saveDir;
    bool m_metadataNoteShown = false;
    // The photo bound to the canvas, and the photos by the time they were
    // last shown, the latest first.
    PhotoItem *m_shownItem = nullptr;
    QList<PhotoItem *> m_recentlyShown;
    qint64 m_pixelBudget = kDefaultPixelBudget;
    FolderLoader *m_folderLoader = nullptr;
    QPointer<PhotoItem> m_readingAheadFor;
    bool m_takingListed = false;
    // The close button is closing every photo: a photo that is saved and
    // holds no pixels is not read again just to be closed.
    bool m_closingAll = false;
    bool m_rowSetQuietly = false;
};

#endif // MAINWINDOW_H
