#include "HistoryStore.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QRegularExpression>
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

// Creation order told by the name, for equal birth times: the time stamp, then the number of
// the bundle within its second ("…-101500" before "…-101500-2" before "…-101500-10").
std::pair<QString, int> nameOrder(const QString& path) {
    const QString base = QFileInfo(path).completeBaseName();
    static const QRegularExpression numbered(QStringLiteral("^(.*\\d{6})-(\\d+)$"));
    if (const auto match = numbered.match(base); match.hasMatch()) {
        return {match.captured(1), match.captured(2).toInt()};
    }
    return {base, 1};
}

QString canonical(const QString& path) {
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
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
    const QString thumbnailPath = QDir(bundlePath).filePath(bundle::thumbnailFile);
    QImage thumbnail = bundle::isOwnFile(thumbnailPath) ? QImage(thumbnailPath) : QImage();
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

QString HistoryStore::bundleName(const QDateTime& when, int n) {
    // Digits only, so the C locale keeps names stable whatever the user's language.
    QString name = QLocale::c().toString(when, QStringLiteral("yyyy-MM-dd-HHmmss"));
    if (n > 1) {
        name += QStringLiteral("-%1").arg(n);
    }
    return name + QLatin1Char('.') + bundle::extension;
}

QStringList HistoryStore::storeItems() const {
    QStringList items;
    const QDir store(m_storePath);
    const QFileInfoList list =
        store.entryInfoList(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot | QDir::System);
    for (const QFileInfo& info : list) {
        // The extension must match exactly, letter case included.
        if (info.suffix() == bundle::extension && !info.fileName().startsWith(QLatin1Char('.'))) {
            items.append(info.absoluteFilePath());
        }
    }
    return items;
}

Result<QString> HistoryStore::createBundle(const QImage& image, const AnnotationList& annotations) {
    const Result<QString> path = claimName();
    if (!path) {
        return path;
    }
    if (Status written = bundle::write(image, annotations, *path, m_services); !written) {
        return written.error();
    }
    prune();
    return path;
}

Result<QString> HistoryStore::reserveBundle() {
    const Result<QString> path = claimName();
    if (path) {
        prune();
    }
    return path;
}

Result<QString> HistoryStore::claimName() {
    const QDateTime now = m_clock();
    const QDir store(m_storePath);
    // Numbers go on after the highest of the same second still there, so names keep telling
    // the order of creation even once earlier ones have been pruned.
    const QString stamp = QFileInfo(bundleName(now)).completeBaseName();
    int n = 1;
    for (const QString& item : storeItems()) {
        if (const auto [itemStamp, number] = nameOrder(item); itemStamp == stamp) {
            n = std::max(n, number + 1);
        }
    }
    // Creating the folder claims the name: mkdir fails when another bundle of the same second,
    // from this process or any other, got there first.
    QString path;
    for (const int last = n + 1000; path.isEmpty(); ++n) {
        const QString name = bundleName(now, n);
        if (store.mkdir(name)) {
            path = store.filePath(name);
        } else if (!QFileInfo::exists(store.filePath(name)) || n >= last) {
            return Error{
                QStringLiteral("%1: the folder could not be created").arg(store.filePath(name))};
        }
    }
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
    // Newest first; equal creation times fall back to the order the names tell.
    std::sort(items.begin(), items.end(), [](const Item& a, const Item& b) {
        return a.created != b.created ? a.created > b.created
                                      : nameOrder(a.path) > nameOrder(b.path);
    });
    for (size_t i = maxEntries; i < items.size(); ++i) {
        // A bundle an open window works on goes when the window releases it.
        if (!m_held.contains(canonical(items[i].path))) {
            removeItem(items[i].path); // a failure leaves that item; pruning goes on
        }
    }
}

void HistoryStore::holdOpen(const QString& bundlePath) {
    ++m_held[canonical(bundlePath)];
}

void HistoryStore::release(const QString& bundlePath) {
    const auto held = m_held.find(canonical(bundlePath));
    if (held == m_held.end()) {
        return;
    }
    if (--held->second == 0) {
        m_held.erase(held);
    }
    if (isInStore(bundlePath)) {
        prune();
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

bool HistoryStore::isInStore(const QString& bundlePath) const {
    return QFileInfo(canonical(bundlePath)).absolutePath() == canonical(m_storePath);
}

Status HistoryStore::discardBundle(const QString& bundlePath) {
    if (isInStore(bundlePath)) {
        return deleteBundle(bundlePath);
    }
    if (!QFileInfo::exists(bundlePath) || QFile::moveToTrash(bundlePath)) {
        return success();
    }
    return Error{
        QStringLiteral("%1: could not be moved to the trash; left in place").arg(bundlePath)};
}

void HistoryStore::reveal(const QString& bundlePath) const {
    if (m_reveal) {
        m_reveal(QDir(bundlePath).filePath(bundle::imageFile));
    }
}

AnnotationList HistoryStore::loadAnnotations(const QString& bundlePath) const {
    return bundle::loadAnnotations(bundlePath);
}

} // namespace vellumix
