#include "settings/QtSettingsStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <type_traits>
#include <vector>

#include <QByteArray>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "core/NotificationCenter.h"
#include "core/UserDirectories.h"
#include "settings/AppSettings.h"

namespace tavi {
namespace {

constexpr mode_t kPrivateDirectoryMode = 0700;
constexpr mode_t kPrivateFileMode = 0600;

QString toQString(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

std::string toStdString(const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    return std::string(utf8.constData(), static_cast<std::size_t>(utf8.size()));
}

// Creates every missing directory of `directory` private to the user.
bool makePrivateDirectories(const std::filesystem::path& directory) {
    std::error_code error;
    if (std::filesystem::is_directory(directory, error)) return true;
    if (directory.has_parent_path() && directory.parent_path() != directory &&
        !makePrivateDirectories(directory.parent_path()))
        return false;
    return ::mkdir(directory.c_str(), kPrivateDirectoryMode) == 0 || errno == EEXIST;
}

QVariant toQVariant(const StoredValue& value) {
    return std::visit(
        [](const auto& v) -> QVariant {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::string>) {
                return toQString(v);
            } else if constexpr (std::is_same_v<T, bool>) {
                return QVariant(v);
            } else if constexpr (std::is_same_v<T, std::int64_t>) {
                return QVariant(static_cast<qint64>(v));
            } else if constexpr (std::is_same_v<T, double>) {
                return QVariant(v);
            } else if constexpr (std::is_same_v<T, StoredBytes>) {
                return QByteArray(v.bytes.data(), static_cast<qsizetype>(v.bytes.size()));
            } else {
                QStringList list;
                for (const std::string& item : v) list.append(toQString(item));
                return list;
            }
        },
        value);
}

// Values read from the file are strings, bytes or string lists; values this
// process wrote keep their own type in QSettings' cache until re-read.
std::optional<StoredValue> fromQVariant(const QVariant& value) {
    switch (value.metaType().id()) {
    case QMetaType::QString: return StoredValue(toStdString(value.toString()));
    case QMetaType::Bool: return StoredValue(value.toBool());
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::Short:
        return StoredValue(static_cast<std::int64_t>(value.toLongLong()));
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
    case QMetaType::UShort: {
        const qulonglong number = value.toULongLong();
        if (number > static_cast<qulonglong>(std::numeric_limits<std::int64_t>::max())) return std::nullopt;
        return StoredValue(static_cast<std::int64_t>(number));
    }
    case QMetaType::Double:
    case QMetaType::Float: return StoredValue(value.toDouble());
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return StoredValue(StoredBytes{std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()))});
    }
    case QMetaType::QStringList: {
        std::vector<std::string> list;
        for (const QString& item : value.toStringList()) list.push_back(toStdString(item));
        return StoredValue(std::move(list));
    }
    default:
        // Invalid entries and serialised Qt types no Tavi setting uses.
        return std::nullopt;
    }
}

std::unique_ptr<QSettings> openSettings(const std::filesystem::path& file) {
    // IniFormat is what NativeFormat means on Unix; naming it keeps the file
    // format independent of the platform's idea of native.
    auto settings = std::make_unique<QSettings>(QString::fromStdString(file.string()), QSettings::IniFormat);
    // Only whole-file replacement: a direct rewrite cut short by a crash
    // would lose every setting.
    settings->setAtomicSyncRequired(true);
    return settings;
}

}  // namespace

// QSettings is only opened on a file that exists. Opened on a missing file,
// it treats the content as empty but may take the size and time of a file
// another process creates a moment later as what it has read; its next write
// would then see nothing new and drop that process's keys.
QtSettingsStore::QtSettingsStore(std::filesystem::path file) : file_(std::move(file)) {
    std::error_code error;
    if (std::filesystem::exists(file_, error)) settings_ = openSettings(file_);
}

QtSettingsStore::~QtSettingsStore() = default;

std::filesystem::path QtSettingsStore::defaultFilePath() {
    return userConfigDirectory() / "tavi" / "tavi.conf";
}

std::optional<StoredValue> QtSettingsStore::value(std::string_view key) const {
    if (auto it = unsaved_.find(key); it != unsaved_.end()) return it->second;
    const QString name = toQString(key);
    if (!settings_ || !settings_->contains(name)) return std::nullopt;
    return fromQVariant(settings_->value(name));
}

void QtSettingsStore::setValue(std::string_view key, const StoredValue& value) {
    unsaved_.insert_or_assign(std::string(key), value);
    persist();
}

void QtSettingsStore::remove(std::string_view key) {
    unsaved_.insert_or_assign(std::string(key), std::nullopt);
    persist();
}

void QtSettingsStore::reload() {
    // A fresh QSettings reads the file as it is now (QSettings notices a
    // replaced file by its size and time stamp).
    settings_.reset();
    std::error_code error;
    if (std::filesystem::exists(file_, error)) settings_ = openSettings(file_);
}

// Makes sure the file exists with private permissions before QSettings
// writes secrets into it. QSettings replaces the file atomically through a
// temporary file that takes over the existing file's permissions.
bool QtSettingsStore::prepareFile() {
    if (!makePrivateDirectories(file_.parent_path())) return false;
    const int fd = ::open(file_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kPrivateFileMode);
    if (fd < 0) return false;
    struct stat status {};
    bool ok = ::fstat(fd, &status) == 0;
    if (ok && (status.st_mode & 077) != 0) ok = ::fchmod(fd, status.st_mode & 0700) == 0;
    ::close(fd);
    return ok;
}

// Hands every unsaved change to QSettings and syncs: under the file's lock,
// QSettings re-reads the file if another process changed it, merges our
// changes in and replaces the file.
bool QtSettingsStore::syncUnsaved() {
    // QSettings keeps the first error it meets for the life of the object, so
    // a fresh one is needed to learn anything from the next sync.
    if (!settings_ || settings_->status() != QSettings::NoError) settings_ = openSettings(file_);
    for (const auto& [key, value] : unsaved_) {
        if (value) settings_->setValue(toQString(key), toQVariant(*value));
        else settings_->remove(toQString(key));
    }
    settings_->sync();
    return settings_->status() == QSettings::NoError;
}

void QtSettingsStore::persist() {
    bool saved = false;
    if (prepareFile()) {
        // Writers take turns for the whole read-merge-write round, each
        // starting from a freshly opened file: QSettings' own lock and change
        // detection alone let another process's key slip away now and then
        // when several tavi processes write at once.
        const int turn = ::open((file_.string() + ".writer").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kPrivateFileMode);
        if (turn >= 0) ::flock(turn, LOCK_EX);
        settings_.reset();
        saved = syncUnsaved();
        // A format error comes from reading the old file and hides whether the
        // new one was written. If it was, the file is clean now and a second
        // sync says so; if not, it fails again.
        if (!saved && settings_->status() == QSettings::FormatError) saved = syncUnsaved();
        if (turn >= 0) ::close(turn);
    }
    if (saved) unsaved_.clear();
    lastWriteSucceeded_ = saved;
}

std::optional<std::string> QtSettingsStore::lastWriteFailure() const {
    if (lastWriteSucceeded_) return std::nullopt;
    return "无法写入设置文件：" + file_.string();
}

AppSettings& AppSettings::shared() {
    // Never destroyed: other singletons may still read settings during exit.
    static AppSettings* const instance = [] {
        static QtSettingsStore* const store = new QtSettingsStore(QtSettingsStore::defaultFilePath());
        return new AppSettings(*store, NotificationCenter::defaultCenter());
    }();
    return *instance;
}

}  // namespace tavi
