#ifndef FOLDERLOADER_H
#define FOLDERLOADER_H

#include <QImage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <opencv2/core.hpp>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "photoio.h"

// One file of a folder as the worker read it.
struct ListedPhoto
{
    QString path;
    // The whole photo for the one to show (full), else a reduced read
    // (1/8) that only the thumbnail is made from.
    photoio::Decoded decoded;
    photoio::FileIdentity identity;
    cv::Mat thumbnail; // rowThumbnail() of the read pixels; empty: unreadable
    cv::Size size;     // of the pixels read (reduced unless full)
    // The whole photo as the canvas shows it (matToQImage, 32 bits), so
    // that the window's thread only wraps it in a pixmap.
    QImage canvasImage;
    bool full = false;
    // A read ahead (readAhead): the whole photo, for a row already listed.
    bool ahead = false;
};

// Reads a folder's files on a worker thread, in order, one at a time: the
// first readable one of each batch whole (it is shown), the others at 1/8
// for their rows' thumbnails; and, first of all, a photo read ahead. The window takes the results on its own
// thread (photoRead), so that it lists one row per pass of its event loop
// and stays responsive. No widget is touched on the worker. Cancelling (or
// destroying the loader) drops what is queued and waits for the worker.
class FolderLoader : public QObject
{
    Q_OBJECT

public:
    explicit FolderLoader(QObject *parent = nullptr);
    ~FolderLoader() override;

    // Queues files behind those queued already; with showFirst, the first
    // readable one among them is read whole.
    void add(const QStringList &paths, bool showFirst);
    // Reads one file whole before anything queued (the photo of a row the
    // user is likely to show next); its result says ahead.
    void readAhead(const QString &path);
    // Waits for the read ahead, if one is queued or under way, and takes
    // its result; false if there is none.
    bool takeAhead(ListedPhoto &photo);
    // Drops the queue and the results not taken yet; returns once the
    // worker is idle.
    void cancel();
    // The next result in order, if one is ready.
    bool takeNext(ListedPhoto &photo);
    // Files queued, being read, or read and not taken yet.
    bool busy() const;

signals:
    // A result is ready (sent from the worker, received queued).
    void photoRead();

private:
    struct Request
    {
        QString path;
        bool full = false;
        quint64 batch = 0;
        bool ahead = false;
    };
    void run();

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Request> m_queue;
    std::deque<ListedPhoto> m_ready;
    bool m_reading = false;
    bool m_readingAhead = false;
    bool m_stop = false;
    quint64 m_batch = 0;     // the last batch queued
    quint64 m_cancelled = 0; // requests of batches up to this are dropped
    std::thread m_worker;
};

#endif // FOLDERLOADER_H
