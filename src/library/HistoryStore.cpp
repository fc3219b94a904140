#include "HistoryStore.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QStandardPaths>

#include <algorithm>
#include <limits>

namespace vellumix {

namespace {

// Birth time where the file system records one; items without sort as the distant past.
qint64 creationKey(const QFileInfo& info) {
    const QDateTime born = info.birthTime();
    return born.isValid() ? born.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
}

QDateTime entryDate(const QString& bundlePath) {
    const QFileInfo annotations(QDir(bundlePath).filePath(bundle::annotationsFile));
    if (annotations.exists() && annotations.lastModified().isValid()) {
        return annotations.lastModified();
    }
    const QDateTime born = QFileInfo(bundlePath).birthTime();
    return born.isValid() ? born : QDateTime::fromMSecsSinceEpoch(0, Qt::UTC).addYears(-2000);
}

std::optional<HistoryStore::Entry> makeEntry(const QString& bundlePath, bool external) {
    QImage thumbnail(QDir(bundlePath).filePath(bundle::thumbnailFile));
    if (thumbnail.isNull()) {
        return std::nullopt;
    }
    return HistoryStore::Entry{bundlePath, entryDate(bundlePath), std::move(thumbnail), external};
}

Status removeItem(const QString& path) {
    const QFileInfo info(path);
    const bool removed =
        info.isDir() && !info.isSymLink() ? QDir(path).removeRecursively() : QFile::remove(path);
    if (!removed) {
        return Error{QStringLiteral("%1: could not be deleted").arg(path)};
    }
    return success();
}

} // namespace

HistoryStore::HistoryStore(QString storePath, Settings& settings, BundleServices services,
                           Revealer reveal, Clock clock)
    : m_storePath(std::move(storePath))
    , m_settings(settings)
    , m_services(std::move(services))
    , m_reveal(std::move(reveal))
    , m_clock(std::move(clock)) {
    QDir().mkpath(m_storePath);
}

QString HistoryStore::standardStorePath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/Vellumix");
}

QString HistoryStore::bundleName(const QDateTime& when) {
    // Digits only, so the C locale keeps names stable whatever the user's language.
    return QLocale::c().toString(when, QStringLiteral("yyyy-MM-dd-HHmmss")) + QLatin1Char('.') +
           bundleExtension;
}

QStringList HistoryStore::storeItems() const {
    QStringList items;
    const QDir store(m_storePath);
    const QFileInfoList list =
        store.entryInfoList(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot | QDir::System);
    for (const QFileInfo& info : list) {
        // The extension must match exactly, letter case included.
        if (info.suffix() == bundleExtension && !info.fileName().startsWith(QLatin1Char('.'))) {
            items.append(info.absoluteFilePath());
        }
    }
    return items;
}

Result<QString> HistoryStore::createBundle(const QImage& image, const AnnotationList& annotations) {
    const QString path = QDir(m_storePath).filePath(bundleName(m_clock()));
    if (Status written = bundle::write(image, annotations, path, m_services); !written) {
        return written.error();
    }
    prune();
    return path;
}

void HistoryStore::prune() {
    struct Item {
        QString path;
        qint64 created;
    };
    std::vector<Item> items;
    for (const QString& path : storeItems()) {
        items.push_back({path, creationKey(QFileInfo(path))});
    }
    // Newest first; equal creation times fall back to the (time-stamped) name.
    std::sort(items.begin(), items.end(), [](const Item& a, const Item& b) {
        return a.created != b.created ? a.created > b.created : a.path > b.path;
    });
    for (size_t i = maxEntries; i < items.size(); ++i) {
        removeItem(items[i].path); // a failure leaves that item; pruning goes on
    }
}

std::vector<HistoryStore::Entry> HistoryStore::allEntries(int limit) const {
    std::vector<Entry> entries;
    for (const QString& path : storeItems()) {
        if (auto entry = makeEntry(path, false)) {
            entries.push_back(std::move(*entry));
        }
    }
    for (const QString& path : externalPaths()) {
        if (QFileInfo::exists(path)) {
            if (auto entry = makeEntry(path, true)) {
                entries.push_back(std::move(*entry));
            }
        }
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.date > b.date; });
    if (limit >= 0 && entries.size() > static_cast<size_t>(limit)) {
        entries.resize(static_cast<size_t>(limit));
    }
    return entries;
}

void HistoryStore::recordExternal(const QString& bundlePath) {
    const QString path = QDir::cleanPath(QFileInfo(bundlePath).absoluteFilePath());
    QStringList list = m_settings.externalBundles();
    list.removeAll(path);
    list.prepend(path);
    while (list.size() > externalCap) {
        list.removeLast();
    }
    m_settings.setExternalBundles(list);
}

QStringList HistoryStore::externalPaths() const {
    return m_settings.externalBundles();
}

Status HistoryStore::deleteBundle(const QString& bundlePath) {
    return removeItem(bundlePath);
}

void HistoryStore::reveal(const QString& bundlePath) const {
    if (m_reveal) {
        m_reveal(QDir(bundlePath).filePath(bundle::imageFile));
    }
}

Status HistoryStore::writeAnnotations(const QString& bundlePath,
                                      const AnnotationList& annotations) {
    return bundle::writeAnnotations(annotations, bundlePath, m_services);
}

Status HistoryStore::refreshImage(const QImage& image, const QString& bundlePath) {
    return bundle::refreshImage(image, bundlePath, m_services);
}

AnnotationList HistoryStore::loadAnnotations(const QString& bundlePath) const {
    return bundle::loadAnnotations(bundlePath);
}

Status HistoryStore::saveOnClose(const QString& bundlePath, const AnnotationList& annotations) {
    if (Status written = writeAnnotations(bundlePath, annotations); !written) {
        return written;
    }
    const QImage image = bundle::readImage(bundlePath);
    if (image.isNull()) {
        return success();
    }
    return bundle::writePreviews(image, annotations, bundlePath, m_services);
}

} // namespace vellumix
