// Pieces of a headless desktop for the desktop tests, started by
// run-desktop.sh:
//   tavi-desktop-helper wait-wm SECONDS   exits 0 once the window manager manages new windows
//   tavi-desktop-helper sni-watcher       serves a StatusNotifierWatcher on the session bus
//   tavi-desktop-helper wait-bus-name NAME SECONDS   exits 0 once NAME has an owner on the session bus
//   tavi-desktop-helper screenshot FILE.png [X Y W H]   saves what the screen shows, for people to look at
//   tavi-desktop-helper show-text X Y LINE...   shows the lines in a window at X Y, as a picture would
//   tavi-desktop-helper fake-portal JOURNAL [OPTIONS]   serves a fake org.freedesktop.portal.Desktop (FakePortal.h)
//       --global-shortcuts=VERSION    with org.freedesktop.portal.GlobalShortcuts at that version
//       --bind-without-shortcuts      whose bind answers without listing the shortcuts
//       --screenshot=FOLDER           with org.freedesktop.portal.Screenshot, saving its pictures there
//   tavi-desktop-helper selection-owner NAME   prints the window owning selection NAME (0x0: none),
//       without opening a window itself: a window manager hears nothing of it

#include <QCoreApplication>
#include <QGuiApplication>
#include <QFont>
#include <QFontMetrics>
#include <QPainter>
#include <QPixmap>
#include <QRasterWindow>
#include <QScreen>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QTimer>
#include <QDBusMessage>

#include <xcb/xcb.h>

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "FakeGlobalShortcuts.h"
#include "FakeScreenshot.h"
#include "FakePortal.h"
#include "SniWatcher.h"

namespace tavi::test {

SniWatcher::SniWatcher(QObject* parent) : QDBusAbstractAdaptor(parent) {}

void SniWatcher::RegisterStatusNotifierItem(const QString& service) {
    // Qt registers with its unique bus name; the item lives at /StatusNotifierItem.
    QString name = service;
    if (name.isEmpty()) name = QDBusConnection::sessionBus().baseService();
    if (!items_.contains(name)) items_.append(name);
    emit StatusNotifierItemRegistered(name);
    std::printf("registered %s\n", name.toUtf8().constData());
    std::fflush(stdout);
}

void SniWatcher::RegisterStatusNotifierHost(const QString&) { emit StatusNotifierHostRegistered(); }

}  // namespace tavi::test

namespace {

int runWatcher(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QObject root;
    new tavi::test::SniWatcher(&root);
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject(QStringLiteral("/StatusNotifierWatcher"), &root,
                            QDBusConnection::ExportAdaptors) ||
        !bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"))) {
        std::fprintf(stderr, "sni-watcher: cannot register on the session bus\n");
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    return QCoreApplication::exec();
}

int runFakePortal(int argc, char** argv) {
    // Fonts for the pictures of the screenshot portal; no window is shown.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    QStringList options = QCoreApplication::arguments().mid(3);
    tavi::test::FakePortal portal(QDBusConnection::sessionBus(), QString::fromLocal8Bit(argv[2]));
    portal.add(std::make_unique<tavi::test::FakeHostRegistry>());
    const bool bindReportsShortcuts = !options.removeAll(QStringLiteral("--bind-without-shortcuts"));
    for (const QString& option : options) {
        if (option.startsWith(QLatin1String("--global-shortcuts="))) {
            const unsigned version = option.section(QLatin1Char('='), 1).toUInt();
            portal.add(std::make_unique<tavi::test::FakeGlobalShortcuts>(version, bindReportsShortcuts));
        } else if (option.startsWith(QLatin1String("--screenshot="))) {
            portal.add(std::make_unique<tavi::test::FakeScreenshot>(option.section(QLatin1Char('='), 1)));
        } else {
            std::fprintf(stderr, "fake-portal: unknown option %s\n", qPrintable(option));
            return 2;
        }
    }
    if (!portal.publish()) {
        std::fprintf(stderr, "fake-portal: cannot register on the session bus\n");
        return 1;
    }
    return QCoreApplication::exec();
}

// Maps a probe window and waits for the window manager to give it WM_STATE:
// until then, a window mapped may stay unmapped.
int waitForWindowManager(double seconds) {
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) return 2;
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const char name[] = "WM_STATE";
    xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, sizeof name - 1, name), nullptr);
    const xcb_atom_t wmState = atom ? atom->atom : 0;
    std::free(atom);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(static_cast<long>(seconds * 1000));
    int status = 1;
    while (status != 0 && std::chrono::steady_clock::now() < deadline) {
        const xcb_window_t window = xcb_generate_id(c);
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 10, 10, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_EVENT_MASK, &mask);
        xcb_map_window(c, window);
        xcb_flush(c);
        // A window mapped before the manager was ready stays unmanaged: try
        // again with a fresh one every half second.
        const auto retry = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
        while (status != 0 && std::chrono::steady_clock::now() < std::min(retry, deadline)) {
            pollfd fd{xcb_get_file_descriptor(c), POLLIN, 0};
            poll(&fd, 1, 50);
            while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
                if ((event->response_type & 0x7F) == XCB_PROPERTY_NOTIFY &&
                    reinterpret_cast<xcb_property_notify_event_t*>(event)->atom == wmState)
                    status = 0;
                std::free(event);
            }
        }
        xcb_destroy_window(c, window);
        xcb_flush(c);
    }
    xcb_disconnect(c);
    return status;
}

int waitForBusName(int argc, char** argv, const QString& name, double seconds) {
    QCoreApplication application(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return 2;
    QDBusServiceWatcher watcher(name, bus, QDBusServiceWatcher::WatchForRegistration);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, [] { QCoreApplication::exit(0); });
    QTimer::singleShot(static_cast<int>(seconds * 1000), [] { QCoreApplication::exit(1); });
    // Asked after the watcher is in place, so that a registration in between is not missed.
    if (bus.interface()->isServiceRegistered(name)) return 0;
    return QCoreApplication::exec();
}

// The root window, every monitor, or the part of it given as X Y WIDTH HEIGHT.
int screenshot(int argc, char** argv, const QString& file) {
    QGuiApplication application(argc, argv);
    QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen) return 1;
    QRect area = screen->virtualGeometry();
    if (argc >= 7) area = QRect(std::atoi(argv[3]), std::atoi(argv[4]), std::atoi(argv[5]), std::atoi(argv[6]));
    return screen->grabWindow(0, area.x(), area.y(), area.width(), area.height()).save(file, "PNG") ? 0 : 1;
}

// Text an application shows but will not let anyone select (a picture, a
// video's subtitles): dark type on white, at a common screen size.
class TextWindow final : public QRasterWindow {
public:
    explicit TextWindow(QStringList lines) : lines_(std::move(lines)) {
        font_.setFamilies({QStringLiteral("Noto Sans CJK SC")});
        font_.setPixelSize(22);
        const QFontMetrics metrics(font_);
        int width = 0;
        for (const QString& line : lines_) width = std::max(width, metrics.horizontalAdvance(line));
        resize(width + 2 * kMargin, static_cast<int>(lines_.size()) * metrics.lineSpacing() + 2 * kMargin);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(QRect(QPoint(), size()), Qt::white);
        painter.setFont(font_);
        painter.setPen(QColor(0x20, 0x20, 0x20));
        const QFontMetrics metrics(font_);
        for (int i = 0; i < lines_.size(); ++i)
            painter.drawText(kMargin, kMargin + i * metrics.lineSpacing() + metrics.ascent(), lines_[i]);
    }

private:
    static constexpr int kMargin = 24;
    QStringList lines_;
    QFont font_;
};

int showText(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QStringList lines;
    for (int i = 4; i < argc; ++i) lines << QString::fromUtf8(argv[i]);
    TextWindow window(lines);
    // Exactly where asked, whatever the window manager would choose.
    window.setFlags(Qt::Window | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint);
    window.setTitle(QStringLiteral("known text"));
    window.setPosition(std::atoi(argv[2]), std::atoi(argv[3]));
    window.show();
    return QGuiApplication::exec();
}

int printSelectionOwner(const char* selection) {
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) return 2;
    xcb_intern_atom_reply_t* atom =
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, static_cast<std::uint16_t>(std::strlen(selection)), selection), nullptr);
    xcb_get_selection_owner_reply_t* owner =
        atom ? xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, atom->atom), nullptr) : nullptr;
    if (owner) std::printf("%#x\n", owner->owner);
    const int status = owner ? 0 : 1;
    std::free(owner);
    std::free(atom);
    xcb_disconnect(c);
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc >= 3 && std::strcmp(argv[1], "screenshot") == 0) return screenshot(argc, argv, QString::fromLocal8Bit(argv[2]));
    if (argc >= 5 && std::strcmp(argv[1], "show-text") == 0) return showText(argc, argv);
    if (argc >= 2 && std::strcmp(argv[1], "sni-watcher") == 0) return runWatcher(argc, argv);
    if (argc >= 3 && std::strcmp(argv[1], "fake-portal") == 0) return runFakePortal(argc, argv);
    if (argc >= 4 && std::strcmp(argv[1], "wait-bus-name") == 0)
        return waitForBusName(argc, argv, QString::fromLocal8Bit(argv[2]), std::atof(argv[3]));
    if (argc >= 3 && std::strcmp(argv[1], "wait-wm") == 0) return waitForWindowManager(std::atof(argv[2]));
    if (argc >= 3 && std::strcmp(argv[1], "selection-owner") == 0) return printSelectionOwner(argv[2]);
    std::fprintf(stderr,
                 "usage: tavi-desktop-helper wait-wm SECONDS | sni-watcher | wait-bus-name NAME SECONDS | screenshot FILE"
                 " | show-text X Y LINE... | fake-portal JOURNAL | selection-owner NAME\n");
    return 2;
}
