// zel: the desktop program. Takes the original command line (mode switches, "/F", a log to open) and a few
// switches of its own for development and documentation (--sim, --screenshot).

#include "app/plot/qt_text.h"
#include "app/zel/desktop_startup.h"
#include "app/zel/main_window.h"
#include "app/zel/qt_host.h"
#include "app/zel/site_window.h"
#include "common/clock.h"
#include "common/number_text.h"
#include "common/version.h"
#include "settings/data_root.h"
#include "settings/startup/command_line.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QSplashScreen>
#include <QStatusBar>
#include <QTimer>
#include <csignal>

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr const char* kUsage =
    "Usage: zel [SWITCHES] [LOG]\n"
    "\n"
    "The field and office program: loads and plots logs, makes log pages, runs pushes.\n"
    "\n"
    "  LOG                   a raw log (.lif.raw.bin) to open at start (no instrument is opened)\n"
    "  /MODE0 ... /MODE61    operating mode (probe), /T Birch, /U Alder, /DOGWOOD\n"
    "  /F                    file mode: no instruments, no acquisition menu\n"
    "  /IPSCPnnn             scope at 192.168.250.nnn (and only one copy of the program)\n"
    "  /REnnn /Snnn /Ynnn    RE scale, averaging, Y scale; /PF pressure/flow; /NOLOCK; /H; /C; /O2; /WTM\n"
    "\n"
    "Development switches:\n"
    "  --sim                 push against the simulated rig (zel-sim rig: scope, depth board, pressure/flow\n"
    "                        unit, GPS and display over one site) instead of the configured instruments\n"
    "  --site FILE           with --sim: the rig's site file (JSON); the built-in site without it\n"
    "  --seed N              with --sim: the rig's seed (noise, pace, GPS wander)\n"
    "  --rate FT_PER_S       with --sim: the rig's push rate (default 0.06 ft/s)\n"
    "  --sweep-ms MS         with --sim: the rig scope's time per averaged sweep (default 20 ms)\n"
    "  --screenshot FILE     once started (and LOG loaded), save the main window as FILE (PNG) and quit\n"
    "  --site-window DIR     open the Site window over the logs of DIR (with --screenshot: that window)\n"
    "  --help                this text\n"
    "  --version             the version\n";

// Escape on the splash goes straight to the main window, once loading allows it.
class SplashKeys final : public QObject {
public:
    explicit SplashKeys(zel::StartupSequence*& sequence) : sequence_(sequence) {}
    bool eventFilter(QObject* watched, QEvent* e) override {
        if (e->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(e)->key() == Qt::Key_Escape &&
            sequence_) {
            sequence_->escape();
            return true;
        }
        return QObject::eventFilter(watched, e);
    }

private:
    zel::StartupSequence*& sequence_;
};

QPixmap splashPicture(const zel::StartupSettings& s) {
    QPixmap pm(520, 300);
    pm.fill(QColor(24, 52, 96));
    QPainter p(&pm);
    p.setPen(Qt::white);
    QFont big = p.font();
    big.setPointSize(40);
    big.setBold(true);
    p.setFont(big);
    p.drawText(QRect(0, 40, 520, 80), Qt::AlignCenter, QStringLiteral("ZEL"));
    QFont small = p.font();
    small.setPointSize(12);
    small.setBold(false);
    p.setFont(small);
    p.drawText(QRect(0, 120, 520, 30), Qt::AlignCenter,
               QStringLiteral("Laser-induced fluorescence logging - ") + zel::toQt(s.model));
    return pm;
}

bool isExistingFile(const std::string& path) {
    std::error_code ec;
    return std::filesystem::is_regular_file(path, ec);
}

} // namespace

int main(int argc, char** argv) {
#ifdef SIGXFSZ
    // A file that reaches the file-size limit must fail its write (the push then goes on in memory), not end
    // the program.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    std::vector<std::string> args;
    bool sim = false;
    zel::program::SimOptions simOptions;
    std::string screenshot, siteFolder;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--help" || a == "-h") {
            std::cout << kUsage;
            return 0;
        }
        if (a == "--version") {
            std::cout << "zel " << zel::kVersionText << '\n';
            return 0;
        }
        if (a == "--sim") {
            sim = true;
        } else if (a == "--site" || a == "--seed" || a == "--rate" || a == "--sweep-ms") {
            if (i + 1 >= argc) {
                std::cerr << "zel: " << a << " needs a value\n";
                return 2;
            }
            const std::string v = argv[++i];
            if (a == "--site") {
                simOptions.site = v;
            } else {
                const double n = zel::val(v);
                if (a == "--sweep-ms") {
                    if (!(n >= 0 && n <= 1000)) {
                        std::cerr << "zel: --sweep-ms needs a number of milliseconds from 0 to 1000\n";
                        return 2;
                    }
                    simOptions.sweepMs = static_cast<int>(n);
                    continue;
                }
                if (!(n > 0) || (a == "--rate" && n > 20)) {
                    std::cerr << "zel: " << a << " needs a positive number"
                              << (a == "--rate" ? " up to 20" : "") << '\n';
                    return 2;
                }
                if (a == "--seed")
                    simOptions.seed = static_cast<std::uint32_t>(n);
                else
                    simOptions.rateFtPerS = n;
            }
        } else if (a == "--screenshot") {
            if (i + 1 >= argc) {
                std::cerr << "zel: --screenshot needs a file\n";
                return 2;
            }
            screenshot = argv[++i];
        } else if (a == "--site-window") {
            if (i + 1 >= argc) {
                std::cerr << "zel: --site-window needs a folder\n";
                return 2;
            }
            siteFolder = argv[++i];
        } else {
            args.push_back(a);
        }
    }

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("ZEL"));
    QApplication::setApplicationVersion(QString::fromLatin1(zel::kVersionText));

    const zel::StartupSettings settings = zel::parseArguments(args, isExistingFile);
    zel::gui::QtHost host;
    zel::SystemClock clock;
    const std::string root = zel::dataRoot();
    zel::gui::MainWindow window(host, clock, settings, root);

    QSplashScreen splash(splashPicture(settings));
    QString version;
    host.progressSink = [&](const QString& text) {
        splash.showMessage(version + QLatin1Char('\n') + text, Qt::AlignBottom | Qt::AlignHCenter, Qt::white);
    };
    zel::StartupSequence* running = nullptr;
    SplashKeys keys(running);
    splash.installEventFilter(&keys);
    splash.show();

    zel::gui::DesktopStartup how;
    how.sim = sim;
    how.simOptions = simOptions;
    how.running = &running;
    how.showVersion = [&](std::string_view v) { version = QString::fromUtf8(v.data(), qsizetype(v.size())); };
    how.mainWindowShown = [&] {
        host.setParent(&window);
        host.progressSink = [&window](const QString& text) { window.statusBar()->showMessage(text, 8000); };
        splash.finish(&window);
    };
    if (!zel::gui::startDesktop(window, settings, host, clock, root, how)) return 1;

    std::unique_ptr<zel::gui::SiteWindow> site;
    if (!siteFolder.empty()) {
        site = std::make_unique<zel::gui::SiteWindow>(host, &window.options(), &window);
        site->show();
        site->openFolder(siteFolder);
    }
    if (!screenshot.empty()) {
        QWidget* shown = site ? static_cast<QWidget*>(site.get()) : &window;
        QTimer::singleShot(500, shown, [shown, screenshot] {
            const bool ok = shown->grab().save(QString::fromStdString(screenshot), "PNG");
            if (!ok) std::cerr << "zel: the screenshot could not be written to " << screenshot << '\n';
            QApplication::exit(ok ? 0 : 1);
        });
    }
    return QApplication::exec();
}
