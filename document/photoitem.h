#ifndef PHOTOITEM_H
#define PHOTOITEM_H

#include <QObject>
#include <QPointF>
#include <QString>
#include <opencv2/core.hpp>

#include <vector>

#include "commands.h"
#include "layerview.h"
#include "matconvert.h"
#include "photoio.h"
#include "photopixels.h"
#include "tools.h"

class QListWidget;
class QListWidgetItem;
class QUndoStack;
class PointerTool;
class ThreadFromQThread;
namespace engine {
struct FinalVote;
}

// Whether a CV_8UC4 selection layer (or a view of one) has a pixel whose
// channel is set, by the engine's test (above 254).
bool layerHasSelection(const cv::Mat &layer, int channel);
// The box of the pixels of a CV_8UC4 layer whose channel is set (empty if none).
cv::Rect layerBounds(const cv::Mat &layer, int channel);
// A 0/255 mask dilated (pixels > 0) or eroded (pixels < 0) by a disc of
// radius |pixels|.
cv::Mat morphSelection(const cv::Mat &selected, int pixels);

// How PhotoItem::saveTo encodes: the quality of the lossy formats, and
// whether the photo's metadata goes into the file.
struct SaveSettings
{
    photoio::EncodeOptions encode;
    bool keepMetadata = true;
};

// The one read of a photo's file, on any thread: the whole photo
// (reduction 1) or a thumbnail's worth of it (2, 4 or 8), with the identity
// of the bytes that were read. Opening, a folder's rows and reading given-
// back pixels again all go through here, so they decode alike.
photoio::Decoded readPhotoFile(const QString &path, photoio::FileIdentity &identity, int reduction = 1);
// The list row's thumbnail, 195 design pixels wide (B G R), from a photo's
// pixels or a reduced decode of them; a few milliseconds whatever the
// photo's size, on any thread.
cv::Mat rowThumbnail(const cv::Mat &pixels);

// The document of one loaded photo: the image, its selection layers, the
// tool state, its own undo stack and worker thread. It draws through the
// LayerView interface and tells of its jobs by signals; the window owns the
// progress dialog that listens to them.
//
// Layer encoding (all four selection layers, CV_8UC4, B G R A, image size):
//   unselected (0,0,0,0); red selection (0,0,255,128); green (0,255,0,128).
//   Never anti-aliased, so these are the only values. The stamp region in
//   m_strokeBaseRed is (0,0,255,0) inside and (0,0,255,128) on its outline.
class PhotoItem : public QObject
{
    Q_OBJECT

public:
    static constexpr int kMaxLassoPoints = 100000;
    static constexpr int kMaxPolyPoints = 100;
    // Positions are stored in 16 bits by the engine, so no side may exceed this.
    static constexpr int kMaxImageSide = 65535;

    PhotoItem(LayerView *backWidget, LayerView *midWidget, LayerView *frontWidget,
              LayerView *frontGreenWidget, const QString &path, QListWidget *listWidget,
              int rowIndex, QObject *parent = nullptr); // rowIndex: kept in the published signature, unused
    // The same for a photo whose file the caller has decoded already (as
    // photoio::decodeFile does, CV_8UC3): the file is not read twice. A
    // caller that made the canvas's picture of the pixels already (as
    // matToQImage makes it, on a worker) hands it in as canvasPixmap.
    PhotoItem(LayerView *backWidget, LayerView *midWidget, LayerView *frontWidget, LayerView *frontGreenWidget,
              const QString &path, cv::Mat pixels, QListWidget *listWidget, QObject *parent = nullptr,
              const QPixmap &canvasPixmap = QPixmap());
    // The same with all the document keeps of the file (keptPixels()).
    PhotoItem(LayerView *backWidget, LayerView *midWidget, LayerView *frontWidget, LayerView *frontGreenWidget,
              const QString &path, PhotoPixels pixels, QListWidget *listWidget, QObject *parent = nullptr,
              const QPixmap &canvasPixmap = QPixmap());
    // A photo listed from a reduced read of its file (a folder's rows): it
    // holds no pixels until first shown (takePixelsBack). Its size is that
    // of the reduced read until then.
    PhotoItem(LayerView *backWidget, LayerView *midWidget, LayerView *frontWidget, LayerView *frontGreenWidget,
              const QString &path, const photoio::FileIdentity &identity, cv::Size listedSize,
              QListWidget *listWidget, QObject *parent = nullptr);
    ~PhotoItem() override;

    // Full-size pixels given back and read again. A photo that is not shown,
    // has nothing unsaved, no undo history, no job and no selection may give
    // back its pixels (and whatever else it holds at full size); it keeps
    // its path, size, row and the identity of its file. Reading them back
    // checks the file first: the same bytes give the same pixels.
    enum class PixelsBack
    {
        Held,       // the photo held its pixels already
        Read,       // read again from the file, as they were
        Changed,    // the file holds other bytes now: nothing read
        Gone,       // no file there any more: nothing read
        Unreadable, // the bytes are the same but give no photo (out of memory, sides too long)
    };
    bool holdsPixels() const { return !m_image.empty(); }
    size_t pixelBytes() const
    {
        return m_image.total() * m_image.elemSize() + m_master.total() * m_master.elemSize();
    }
    bool canGivePixelsBack() const;
    // True when given back; false (nothing changed) when the photo may not,
    // or its file no longer holds what was read.
    bool givePixelsBack();
    PixelsBack takePixelsBack();
    // The same with pixels read already (a read ahead, on a worker, through
    // readPhotoFile): taken only if the bytes read are those the photo's
    // pixels came from.
    PixelsBack takePixelsBack(photoio::Decoded &read, const photoio::FileIdentity &identity);
    // The identity of the bytes the photo's pixels were decoded from.
    void setFileIdentity(const photoio::FileIdentity &identity) { m_identity = identity; }
    const photoio::FileIdentity &fileIdentity() const { return m_identity; }

    QUndoStack *getUndoStack() const { return m_undoStack; }
    // Read access for the window.
    bool isSaved() const { return m_output.m_saved != 0; }
    QString filePath() const { return m_output.m_filePath; }
    QString fileName() const { return m_output.m_fileName; }
    QString folderPath() const { return m_output.m_folderPath; }
    // A job is on the worker thread and its end has not been handled yet.
    bool isJobActive() const { return m_job.m_jobActive; }
    int imageCols() const { return m_imageCols; }
    int imageRows() const { return m_imageRows; }
    QListWidgetItem *listItem() const { return m_listItem; }
    cv::Mat getImage() const { return m_image; }
    // The file's own samples where they hold more than getImage() (16 bits,
    // alpha), kept in step with it; empty for an 8-bit colour photo.
    cv::Mat master() const { return m_master; }
    // How the photo's pixels are shown (its colour profile to sRGB), and the
    // whole photo so shown: for the list row and the printed page.
    const PhotoDisplay &display() const { return m_display; }
    QPixmap shownPixmap() const { return m_display.pixmap(m_image); }

    // Clear every pixel in place (the Mats keep their memory, so widgets
    // that wrap them stay valid).
    void clearCloneSource();
    void clearCloneMask();
    void clearCloneMaskScaled();
    void clearStrokeBaseRed();
    void clearInpaintMask();
    void clearInpaintMaskBK();

    // What the window asks of the photo.
    // Escape: the polygon and the stamp region under way go; under the smart
    // clone also its piece and its resize. Not an undo step.
    void dropSelectionUnderWay(bool smartClone);
    // Entering the stamp: both selections go as well. Not an undo step.
    void dropSelectionsForStamp();
    void setStampHardness(float hardness) { m_stamp.m_stampHardness = hardness; }
    void setStampOpacity(float opacity) { m_stamp.m_stampOpacity = opacity; }
    // The photo, both selection layers and the image size on the canvas.
    void showOnCanvas();

    // Whole-selection commands (photoitem_editing.cpp), on the layer of the
    // active colour: grow or shrink it by kSelectionStep image pixels with a
    // round element, as one undo entry. False when nothing changed (no
    // photo, no selection, a job running).
    static constexpr int kSelectionStep = 3;
    bool hasSelection(Colour colour) const;
    bool hasActiveSelection() const;
    bool growSelection();
    bool shrinkSelection();
    // The selection of a colour as a CV_8UC1 mask, 255 selected, 0 not.
    cv::Mat selectionMask(Colour colour) const;
    // Adds the 255 pixels of a CV_8UC1 mask of the photo's size to the red
    // selection as one undo entry; false (nothing changed) if it does not
    // fit or selects nothing.
    bool addToRedSelection(const cv::Mat &mask);
    // Another Fill: the erase that made the last entry of the history (an
    // Erase or an Another Fill) runs again on the same pixels and selection
    // with a fresh random start, as its own undo entry. Possible while that
    // entry is last and no job runs.
    bool canFillAgain() const;
    // The list row's thumbnail from the photo's present pixels, from a
    // reduced image (a few milliseconds whatever the photo's size), sent as
    // thumbnailChanged.
    void refreshThumbnail();

    // Region bookkeeping.
    void resetStrokeBox();
    void extendStrokeBox(QPointF pos);
    void extendWorkBox(QPointF pos);
    cv::Rect strokeBoxRect() const;
    cv::Rect workBoxRect() const;
    cv::Rect selectionBounds() const;

    // The moved piece of the smart clone tool, as a view into a layer.
    cv::Mat buildMovedPiece(int dw, int dh, bool fromHandle = false);

    // The state of a photo, by concern. The members keep the names the
    // rest of the system knows them by; only the photo, its tool units and
    // the tests' one door (tests/common/photoitemstate.h) reach them.

    // What is selected: the red (m_inpaintMask) and green (m_inpaintMaskBK)
    // layers, their copies at the start of a gesture (the undo entry's
    // before; m_strokeBaseRed also holds the stamp region), the box of the
    // stroke under way and the trails of the lasso and the polygon.
    struct Selection
    {
        cv::Mat m_inpaintMask;
        cv::Mat m_inpaintMaskBK;
        cv::Mat m_strokeBaseRed;
        cv::Mat m_strokeBaseGreen;
        cv::Mat m_rubberBand; // the open polygon drawn over a copy of its layer
        double m_strokeMinX = 0.0;
        double m_strokeMinY = 0.0;
        double m_strokeMaxX = -1.0;
        double m_strokeMaxY = -1.0;
        int m_lassoCount = 0;
        std::vector<cv::Point> m_lassoPoints; // the first m_lassoCount hold
        int m_polyCount = 0;
        std::vector<cv::Point> m_polyPoints; // the first m_polyCount hold
        QPointF m_lastVertex{-1, -1};
        quint8 m_donorUsed = 0; // green was painted since the last commit
    };

    // The tool in the hand and where the pointer is.
    struct Pointer
    {
        Tool m_tool = Tool::Brush;
        Colour m_colorType = Colour::Mask;
        int m_brushSize = 30; // screen pixels
        double m_scale = 1.0; // screen pixels per image pixel
        QPointF m_pressPos{-1, -1};
        QPointF m_prevPos{0, 0};
        QPointF m_curPos{0, 0};
    };

    // The box every gesture since the last commit touched: what an Erase
    // works on.
    struct Regions
    {
        double m_workMinX = 0.0;
        double m_workMinY = 0.0;
        double m_workMaxX = -1.0;
        double m_workMaxY = -1.0;
    };

    // The sampling stamp: its sliders, its source and offset, its region.
    struct Stamp
    {
        quint8 m_stampRegionActive = 0;
        float m_stampOpacity = 1.0f;
        float m_stampHardness = 1.0f;
        QPointF m_stampSource{0, 0};
        int m_stampOffsetX = 0;
        int m_stampOffsetY = 0;
        quint8 m_stampSourceFresh = 0;
        quint8 m_stampSourceMissing = 1;
        // Undo index at which the open stamp gesture took its snapshot; -1
        // when no stamp gesture awaits its undo entry.
        int m_stampStrokeIndex = -1;
    };

    // The smart clone and the piece drag: the grabbed piece, where it went,
    // its resize, and the clone job's inputs.
    struct Clone
    {
        int m_cloneGrowX = 0;
        int m_cloneGrowY = 0;
        int m_cloneGrowBaseX = 0;
        int m_cloneGrowBaseY = 0;
        cv::Mat m_cloneSource;
        cv::Mat m_cloneMask;
        cv::Mat m_cloneMaskScaled;
        cv::Mat m_clonePreview;
        int m_dragOriginX = 0;
        int m_dragOriginY = 0;
        int m_moveX = 0;
        int m_moveY = 0;
        int m_dragPressX = 0;
        int m_dragPressY = 0;
        quint8 m_grabbed = 0;
    };

    // The engine job: the worker thread, the part of the photo the job may
    // write as it was before (also the stamp's snapshot of the whole
    // photo), the progress and the job's flags.
    struct Job
    {
        ThreadFromQThread *m_workerThread = nullptr;
        // An erase's crop, the whole photo for a clone job; held from the
        // job's start until its undo entry is made or the photo is put back.
        cv::Mat m_imageBeforeJob;
        cv::Rect m_beforeJobRect;
        quint8 m_firstProgress = 1;
        int m_progressBase = 0;
        quint8 m_canceled = 0;
        // A job is on the worker thread and its end has not been handled yet.
        bool m_jobActive = false;
        // An erase's undo entry is being made: its redo brings the canvas
        // up to date over the entry's rectangle only.
        bool m_patchCanvas = false;
        // The job under way is an Another Fill: these are its inputs, and
        // the work box to give back should it not be committed.
        bool m_refilling = false;
        FillInputs m_refill;
        cv::Vec4d m_workBoxBeforeRefill;
    };

    // The file: where it came from and whether it is saved.
    struct Output
    {
        quint8 m_saved = 1;
        // A save wrote less than the photo holds (8 bits of 16, no alpha):
        // the note for the user, told once per photo.
        bool m_reductionTold = false;
        QString m_saveNote;
        QString m_filePath;
        QString m_fileName;
        QString m_folderPath;
    };


signals:
    // A job went to the worker; it reports a percentage, then ends (by
    // result, cancel or failure) just before sendThreadFinish.
    void jobStarted();
    void jobProgress(int percent);
    void jobEnded();
    void sendThreadFinish();
    void sendDeleteItem();
    // A new thumbnail for the photo's list row.
    void thumbnailChanged(QPixmap thumbnail);
    void sendOverStampSelect();
    // A command that starts no job for a reason the user must hear (one
    // line of English, lower case, as the engine's checks give it), sent
    // just before sendThreadFinish.
    void jobRefused(QString reason);
    // The job ended on an error (out of memory, an OpenCV error); the photo
    // is as it was before the job and no undo entry was made. Sent after
    // jobEnded (the progress dialog is gone), before sendThreadFinish.
    void jobFailed(QString reason);

public slots:
    // The pointer, in image coordinates (photoitem_pointer.cpp).
    void recvLeftPressPoint(QPointF pos);
    void recvLeftMovePoint(QPointF pos);
    void recvLeftMoveNoPoint(QPointF pos);
    void recvReleasePoint(QPointF pos);
    void recvDoublePress();
    void recvLeftMoveChangePoint(QPointF pos, int x, int y, int type);
    void recvSelectType(int type, int size, int colorType);
    // Which layers the canvas shows (photoitem_regions.cpp).
    void recvRedRoi();
    void recvGreenRoi();
    void recvSrcRoi();
    // Engine jobs (photoitem_jobs.cpp).
    void recvEraseCommand();
    void recvCloneCommand();
    void recvAnotherFillCommand();
    void onQThreadFinished();
    void setProcessSum(long sum);
    void recvCancelStatus();
    // Undo and redo of the region snapshots (photoitem_undo.cpp).
    void setUndoPixmap(cv::Mat temp, QPointF min, QPointF max, cv::Rect rect);
    void setRedoPixmap(cv::Mat temp, cv::Rect rect);
    // The master's rectangle from an undo entry (photoitem_master.cpp).
    void setMasterPixels(const cv::Mat &temp, const cv::Rect &rect);
    void setInpaintMask(cv::Mat tempMask, cv::Rect rect);
    void setInpaintMaskBK(cv::Mat tempMask, cv::Rect rect);
    // The rectangle of a colour's layer painted from a 0/255 CV_8UC1 mask
    // of its size: the tint where set, nothing elsewhere.
    void paintSelection(Colour colour, const cv::Mat &mask, cv::Rect rect);
    // Output (photoitem_output.cpp).
    void recvSaveCommand(QString fileName);
    // Writes the photo to fileName, encoded by its suffix, all or nothing,
    // with the metadata it was opened with as far as the format holds it.
    // Returns "" and counts the photo as saved, or returns why nothing was
    // written (one line of English) and leaves any file there as it was.
    QString saveTo(const QString &fileName, const SaveSettings &settings = SaveSettings());
    // What the file carried beside its pixels (EXIF, XMP, IPTC, ICC profile),
    // kept for saving; it stays while the pixels come and go.
    // Sets the profile the photo is shown through as well.
    void setMetadata(photoio::Metadata metadata);
    const photoio::Metadata &metadata() const { return m_metadata; }
    // After a save that wrote less than the photo holds (a 16-bit photo as
    // JPEG), the plain note saying so, the first time for this photo; else
    // empty. Taken once.
    QString takeSaveNote();
    // Stamp (photoitem_stamp.cpp).
    void recvLeftALTPressPoint(QPointF pos);

    void setScale(double scale);
    void onCustomDeleteItem();

public:
    // Counts a fresh start: no stroke, no work box, no layers.
    void initLayers();
    // The selection layers and stroke bases are made (zero, at the photo's
    // size) by the first gesture or command that needs them, and let go of
    // when nothing is selected any more; the canvas is told before either.
    void ensureLayers();
    void releaseLayers();
    // Whether the photo holds any layer, stroke base or clone buffer
    // (the moved picture of a piece drag among them).
    bool holdsLayers() const;
    void stampPaint(QPointF pos);
    cv::Mat stampPreview(QPointF pos);

private:
    // The master copy (photoitem_master.cpp): a change of m_image inside
    // rect, whose pixels were `before`, carried into the master, both sides
    // kept by the entry about to be pushed. An erase (fill) writes its hole
    // from the vote at full precision and makes it opaque.
    void followInMaster(Command &entry, const cv::Rect &rect, const cv::Mat &before, bool fill,
                        const engine::FinalVote *vote = nullptr);
    // What a file of `suffix` is written from, and what it cannot hold.
    cv::Mat pixelsToSave(const std::string &suffix) const;
    QString reducedInFile(const QString &fileName) const;
    // The construction both ways share: path, undo stack, list entry, worker.
    void setUpDocument(const QString &path);
    void foldJobResult(cv::Mat image, cv::Mat result);
    // The end of a job (photoitem_jobs.cpp): its result committed as one
    // undo entry, or the photo as it was before it (cancel, failure). A
    // result that cannot be kept (no memory for its entry) is taken back,
    // and the reason returned; empty when committed.
    QString commitJobResult();
    void takeJobBack();
    // The rectangle a clone job's undo entry holds: the piece at its place
    // and everything the job changed.
    cv::Rect cloneJobRect();
    bool changeSelectionBy(int pixels, const QString &text);
    void extendWorkBoxTo(const cv::Rect &rect);
    // Engine jobs (photoitem_jobs.cpp): the thread of this photo.
    void hookUpEngine();
    void releaseEngine();
    bool prepareSeamlessJob();
    // The steps of an Erase command: whether the engine can take the photo
    // at all, the clone tools' own job, the erase job of a crop, the start;
    // refuseJob ends a command that starts no job, telling why when there is
    // a reason the user must hear.
    bool engineCanTakePhoto() const;
    bool prepareCloneJob();
    // Empty when the engine can fill the crop (its pixels and CV_8UC4
    // selection layers) and the machine has the memory for it; else the
    // reason.
    QString eraseJobRefusal(const cv::Mat &image, const cv::Mat &red, const cv::Mat &green, bool useDonor) const;
    // What it takes to run the erase of the crop again: the selections as
    // they are (the entry adds the pixels before the fill).
    FillInputs eraseInputs(const cv::Rect &crop) const;
    // The last entry of the history when it is an Erase or an Another Fill.
    const FillCommand *lastFill() const;
    void startAnotherFill();
    void restoreWorkBoxBeforeRefill();
    // The inputs of the erase job just ended, or none if they do not fit in
    // memory.
    FillInputs refillInputs() const;
    // Runs one of the start functions, turning an exception into a refusal.
    void startGuarded(void (PhotoItem::*start)());
    void fillEraseJob(const cv::Rect &crop);
    void startJob();
    void refuseJob(const QString &reason = QString());
    void startErase();
    // The photo and both selection layers back on the screen; with a
    // rectangle, only that part of the photo changed since it was shown.
    void showImageAndLayers(const cv::Rect &changed = cv::Rect());
    // Keeps the job's part of the photo as it was (the crop, or the whole
    // photo), and gives it back.
    void keepBeforeJob(const cv::Rect &rect);
    void putBackBeforeJob();
    // After a committed change (photoitem_undo.cpp): no selection, no
    // stroke or work box, the next job counted afresh.
    void startAfresh();

    // The pointer (photoitem_pointer.cpp): each event is handed once to the
    // unit of the current tool (pointertool.h), which works on the gesture
    // state and the helpers below.
    const PointerTool &currentTool() const;
    void ensureLayersForTool();
    friend class PointerTool;
    friend class SelectionTool;
    friend class RectangleTool;
    friend class LassoTool;
    friend class PolygonTool;
    friend class BrushTool;
    friend class FixSelectionTool;
    friend class StampRegionTool;
    friend class StampRegionLassoTool;
    friend class StampRegionPolygonTool;
    friend class StampTool;
    friend class PieceTool;
    friend class PieceDragTool;
    friend class SmartCloneTool;

    // Helpers of the tools (photoitem_selection.cpp): the layer, undo base
    // and widget of the active colour.
    cv::Mat &activeLayer();
    cv::Mat &activeBase();
    LayerView *activeWidget() const;
    void showLayer(const cv::Mat &layer, LayerView *widget);
    // Brings the photo's pixmap on the canvas in step with m_image inside
    // rect, or sets the whole photo when the canvas shows something else.
    void showPhotoRect(const cv::Rect &rect);
    void pushSelectionEntry(const cv::Rect &rect, const QString &text);
    // A polygon's vertex at pos; true when it closes the polygon (near the
    // first vertex, or the last one allowed).
    bool addPolygonVertex(QPointF pos);
    void endPolygon();
    // The open polygon and the edge to the pointer drawn over a copy of
    // under; false when there is none to draw.
    bool showRubberBand(QPointF pos, const cv::Mat &under, const cv::Scalar &tint, LayerView *widget);

    friend struct PhotoItemState; // the tests' door

    cv::Mat m_image; // the photo, B G R; empty while given back
    // The photo's colour profile made ready for the screen (display only).
    PhotoDisplay m_display;
    // The file's own samples, 16-bit or with alpha (PhotoPixels::master).
    cv::Mat m_master;
    // Of the file m_image was decoded from (or, before the first read, the
    // reduced read that listed it); exists false when unknown.
    photoio::FileIdentity m_identity;
    // m_image has been read once: m_imageCols and m_imageRows are the photo's.
    bool m_sizeKnown = true;
    int m_imageCols = 0;
    int m_imageRows = 0;
    Selection m_selection;
    Pointer m_pointer;
    Regions m_regions;
    Stamp m_stamp;
    Clone m_clone;
    Job m_job;
    Output m_output;
    photoio::Metadata m_metadata;
    LayerView *m_backWidget = nullptr;
    LayerView *m_midWidget = nullptr;
    LayerView *m_frontWidget = nullptr;
    LayerView *m_frontGreenWidget = nullptr;
    QUndoStack *m_undoStack = nullptr;
    QListWidget *m_listWidget = nullptr;
    QListWidgetItem *m_listItem = nullptr;
};

#endif // PHOTOITEM_H
