// The demo: the real Quillon application (the same shell and views) against a local sample
// service, with a sample Claude Code home in a temporary folder, so that a newcomer sees a filled
// panel without any account. It opens the panel at once, under its item where the bar shows it.
//
//   quillon_demo                    run until quit (from the panel's footer or the tray menu)
//   quillon_demo --screenshots DIR  write DIR/panel.png (the panel as it opens, and scrolled to
//                                   its end) and DIR/settings.png, then quit
//   quillon_demo --cycles N         run N refresh cycles back to back and print, as JSON, the
//                                   resident memory after the first ten, after 1,000 (when N
//                                   is larger) and after all of them
//   quillon_demo --service URL ...  use a sample service that runs elsewhere, not its own
//   quillon_demo --serve            run the sample service alone: print its base URL on a line
//                                   and answer until ended by a signal; with --service, this
//                                   keeps the service's own memory out of the measured process
#include "app/app_icon.h"
#include "app/application.h"
#include "app/display_check.h"
#include "app/panel_application.h"
#include "app/production_services.h"
#include "app/termination_signals.h"
#include "bar_item_finder.h"
#include "sample_home.h"
#include "sample_service.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPainter>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <string_view>

#include <unistd.h>

namespace {

using namespace quillon;

struct Options {
    QString screenshots;
    QString service;
    int cycles = 0;
};

Options parse(const QStringList& args) {
    Options options;
    for (qsizetype i = 1; i + 1 < args.size(); ++i) {
        if (args.at(i) == QStringLiteral("--screenshots")) {
            options.screenshots = args.at(++i);
        } else if (args.at(i) == QStringLiteral("--cycles")) {
            options.cycles = args.at(++i).toInt();
        } else if (args.at(i) == QStringLiteral("--service")) {
            options.service = args.at(++i);
        }
    }
    return options;
}

// Set by SIGTERM or SIGINT. The start-up spins the event loop itself before the application's
// loop runs, and a quit asked for meanwhile would be lost: each wait ends on it, and the demo
// stops before entering the application's loop.
bool stopAsked = false;

// Spins the event loop until `done` holds, `ms` pass or a stop is asked for.
bool waitFor(const std::function<bool()>& done, int ms) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (stopAsked || timer.elapsed() > ms) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

void settle(int ms) {
    waitFor([] { return false; }, ms);
}

long residentKb() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) {
            return line.mid(6).trimmed().split(' ').first().toLong();
        }
    }
    return -1;
}

bool refreshOnce(AppState& state) {
    state.refreshAll();
    return waitFor([&] { return !state.isRefreshing(); }, 10000);
}

// Runs refresh cycles until `done` reaches `until`; false when one did not finish.
bool cycleUntil(AppState& state, int& done, int until) {
    for (; done < until; ++done) {
        if (!refreshOnce(state)) {
            std::fputs("a refresh did not finish\n", stderr);
            return false;
        }
    }
    return true;
}

// The first cycles fill caches and pools once; the slope after the first thousand is what a
// long-running session sees.
int runCycles(AppState& state, int cycles) {
    constexpr int settled = 1000;
    int done = 0;
    if (!cycleUntil(state, done, std::min(10, cycles))) {
        return 1;
    }
    const long warm = residentKb();
    long atSettled = -1;
    if (cycles > settled) {
        if (!cycleUntil(state, done, settled)) {
            return 1;
        }
        atSettled = residentKb();
    }
    if (!cycleUntil(state, done, cycles)) {
        return 1;
    }
    std::printf("{\"cycles\":%d,\"rss_after_10_kb\":%ld,\"rss_after_1000_kb\":%ld,"
                "\"rss_after_all_kb\":%ld}\n",
                cycles, warm, atSettled, residentKb());
    return 0;
}

// The sample service alone, until a signal ends the process.
int serveOnly() {
    demo::SampleService service;
    service.setRecording(false);
    std::cout << service.baseUrl() << std::endl;
    for (;;) {
        ::pause();
    }
}

// The item of that name in the window's visual tree (QML items are not always QObject children
// of the item they are placed in).
QQuickItem* findItem(QQuickItem* item, const QString& name) {
    if (item->objectName() == name) {
        return item;
    }
    for (QQuickItem* child : item->childItems()) {
        if (QQuickItem* found = findItem(child, name)) {
            return found;
        }
    }
    return nullptr;
}

int writeScreenshots(PanelWindow& panel, const QString& folder) {
    QDir().mkpath(folder);
    QQuickWindow* window = panel.window();
    settle(800); // the bars' 0.3 s animation
    // The panel with as much of its shadow as the window has.
    const int shadow = std::min(panel.currentMargin(), 20);
    const QRect area = panel.panelGeometry()
                           .translated(-window->position())
                           .adjusted(-shadow, -shadow, shadow, shadow);
    const auto grab = [&] { return window->grabWindow().copy(area); };
    const auto save = [&](const QString& name, const QImage& picture) {
        const QString file = QDir(folder).filePath(name);
        const bool saved = picture.save(file);
        std::cout << (saved ? "wrote " : "could not write ") << file.toStdString() << '\n';
        return saved;
    };
    QQuickItem* dashboard = findItem(window->contentItem(), QStringLiteral("dashboardView"));
    QQuickItem* scroller = findItem(window->contentItem(), QStringLiteral("contentScroller"));
    if (dashboard == nullptr || scroller == nullptr) {
        std::cerr << "the dashboard view was not found\n";
        return 1;
    }
    // The sample Claude card fills the panel's scrolling area, so the Codex card lies below it.
    // The picture shows the panel as it opens beside the same panel scrolled to its end: two
    // plain grabs, so that both cards are in view as a user sees them.
    const QImage opened = grab();
    const qreal end = scroller->property("contentHeight").toReal() - scroller->height();
    scroller->setProperty("contentY", std::max<qreal>(0, end));
    settle(200);
    const QImage scrolled = grab();
    scroller->setProperty("contentY", 0);
    const int gap = 24;
    QImage both(opened.width() * 2 + gap, opened.height(), QImage::Format_ARGB32_Premultiplied);
    both.fill(Qt::transparent);
    QPainter painter(&both);
    painter.drawImage(0, 0, opened);
    painter.drawImage(opened.width() + gap, 0, scrolled);
    painter.end();
    bool ok = save(QStringLiteral("panel.png"), both);
    dashboard->setProperty("showSettings", true);
    settle(800);
    return save(QStringLiteral("settings.png"), grab()) && ok ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == "--serve") {
        return serveOnly();
    }
    prepareGuiPlatform();
    if (const auto problem = displayProblem()) {
        std::cerr << *problem << '\n';
        return 1;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillon"));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(appIcon());
    const Options options = parse(QApplication::arguments());

    // A home of its own: the sample Claude Code and Codex files, and settings that never touch
    // the user's own.
    QTemporaryDir home;
    const std::filesystem::path homePath = home.path().toStdString();
    demo::writeSampleHome(homePath, std::chrono::system_clock::now());
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(QStringLiteral(".config"))));

    std::optional<demo::SampleService> service;
    if (options.service.isEmpty()) {
        // Nothing reads what the service received here: it keeps no log that would grow.
        service.emplace().setRecording(false);
    }
    ProviderEnvironment env;
    env.claudeApiBase = env.claudeWebBase = env.chatgptBase =
        service ? service->baseUrl() : options.service.toStdString();
    env.home = homePath;
    env.securityTool = (homePath / "no-keychain-tool").string();

    TerminationSignals terminationSignals;
    QObject::connect(&terminationSignals, &TerminationSignals::received, &app, [] {
        stopAsked = true;
        QApplication::quit();
    });

    // The bar as it looks before the item joins it: the demo's first panel opens under the item.
    std::optional<demo::BarItemFinder> finder;
    if (options.cycles == 0 && options.screenshots.isEmpty()) {
        finder.emplace();
    }
    PanelApplication parts(
        [&env](KeyValueStore& snapshotStore) { return productionServices(snapshotStore, env); });
    AppState& state = parts.appState();
    waitFor([&] { return !state.isRefreshing(); }, 10000);

    if (options.cycles > 0) {
        return runCycles(state, options.cycles);
    }
    // Under the item, as a click on it would open it, where the bar shows where the item is;
    // otherwise where a click opens it when nothing better is known: under the bar edge's middle.
    std::optional<QPoint> item;
    if (finder) {
        waitFor([&] { return (item = finder->look()).has_value(); }, 5000);
    }
    if (stopAsked) {
        return 0;
    }
    parts.panel().showAt(item.value_or(parts.tray().anchor().barEdge()));
    if (!options.screenshots.isEmpty()) {
        return writeScreenshots(parts.panel(), options.screenshots);
    }
    return QApplication::exec();
}
