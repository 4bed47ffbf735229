#include "folderloader.h"
#include "matconvert.h"
#include "photoitem.h"

#include <algorithm>

namespace {

// Results read ahead and not yet listed: enough to keep the worker busy,
// few enough that a slow listing does not pile up reads (and a whole photo).
constexpr size_t kReadAhead = 4;
// A row's thumbnail comes from a decode at this fraction of the photo.
constexpr int kThumbnailReduction = 8;

} // namespace

FolderLoader::FolderLoader(QObject *parent)
    : QObject(parent)
{
    m_worker = std::thread([this] { run(); });
}

FolderLoader::~FolderLoader()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
        m_queue.clear();
    }
    m_wake.notify_all();
    m_worker.join();
}

void FolderLoader::add(const QStringList &paths, bool showFirst)
{
    if (paths.isEmpty())
        return;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const quint64 batch = ++m_batch;
        for (int i = 0; i < paths.size(); ++i)
            m_queue.push_back(Request{paths.at(i), showFirst && i == 0, batch});
    }
    m_wake.notify_all();
}

void FolderLoader::readAhead(const QString &path)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        Request request{path, true, ++m_batch};
        request.ahead = true;
        m_queue.push_front(request);
    }
    m_wake.notify_all();
}

bool FolderLoader::takeAhead(ListedPhoto &photo)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto queued = [this] {
        return std::any_of(m_queue.begin(), m_queue.end(), [](const Request &r) { return r.ahead; });
    };
    m_wake.wait(lock, [&] { return !m_readingAhead && !queued(); });
    const auto found = std::find_if(m_ready.begin(), m_ready.end(), [](const ListedPhoto &p) { return p.ahead; });
    if (found == m_ready.end())
        return false;
    photo = std::move(*found);
    m_ready.erase(found);
    m_wake.notify_all();
    return true;
}

void FolderLoader::cancel()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_queue.clear();
    m_cancelled = m_batch;
    // The read under way finishes (a decode cannot be stopped midway) and
    // is dropped when it is done.
    m_wake.wait(lock, [this] { return !m_reading; });
    m_ready.clear();
}

bool FolderLoader::takeNext(ListedPhoto &photo)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_ready.empty())
        return false;
    photo = std::move(m_ready.front());
    m_ready.pop_front();
    m_wake.notify_all();
    return true;
}

bool FolderLoader::busy() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_reading || !m_queue.empty() || !m_ready.empty();
}

void FolderLoader::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        // A read ahead goes first even when the window is behind with the
        // rows (the window may be waiting for it).
        m_wake.wait(lock, [this] {
            return m_stop || (!m_queue.empty() && (m_ready.size() < kReadAhead || m_queue.front().ahead));
        });
        if (m_stop)
            return;
        const Request request = m_queue.front();
        m_queue.pop_front();
        m_reading = true;
        m_readingAhead = request.ahead;
        lock.unlock();

        ListedPhoto photo;
        photo.path = request.path;
        photo.full = request.full;
        photo.ahead = request.ahead;
        try {
            photo.decoded = readPhotoFile(request.path, photo.identity, request.full ? 1 : kThumbnailReduction);
            // A read ahead fills a row that has its thumbnail already.
            if (!request.ahead)
                photo.thumbnail = rowThumbnail(photo.decoded.pixels);
            photo.size = photo.decoded.pixels.size();
        } catch (const std::exception &) {
            // Out of memory or a decoder's exception: the row is refused as
            // an unreadable file is.
            photo.decoded.pixels.release();
            photo.thumbnail.release();
        }
        // The shown photo is read whole, and converted for the canvas here
        // (the longest step of showing it); only the thumbnail of the others.
        // A 16-bit or transparent photo is left to the window, which shows its
        // working copy.
        if (photo.full && !photo.ahead && !photo.thumbnail.empty() && photo.decoded.pixels.type() == CV_8UC3) {
            try {
                photo.canvasImage = PhotoDisplay(photo.decoded.metadata.icc)
                                        .image(photo.decoded.pixels)
                                        .convertToFormat(QImage::Format_RGB32);
            } catch (const std::exception &) {
                photo.canvasImage = QImage(); // the window converts it then
            }
        }
        if (!photo.full)
            photo.decoded.pixels.release();

        lock.lock();
        m_reading = false;
        m_readingAhead = false;
        const bool dropped = request.batch <= m_cancelled;
        if (!dropped) {
            // An unreadable first file hands the whole read to the next one.
            if (photo.full && !photo.ahead && photo.thumbnail.empty() && !m_queue.empty()
                && m_queue.front().batch == request.batch)
                m_queue.front().full = true;
            m_ready.push_back(std::move(photo));
        }
        m_wake.notify_all();
        if (!dropped) {
            lock.unlock();
            emit photoRead();
            lock.lock();
        }
    }
}
