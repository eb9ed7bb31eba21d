// The program with a window.
#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QTranslator>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "analysis/codecInventory.h"
#include "analysis/codecListing.h"
#include "classShared/log.h"
#include "core/RefusedSources.h"
#include "core/appDelegate.h"
#include "core/startUp.h"
#include "platform/Bundle.h"
#include "platform/Signals.h"
#include "platform/SingleInstance.h"
#include "platform/UserDomain.h"
#include "platform/ffmpegOptions.h"
#include "platform/installedFfmpeg.h"
#include "process/logs.h"
#include "process/toolEnvironment.h"
#include "views/MainWindow.h"
#include "views/QtAlerts.h"
#include "views/QtRunLoop.h"
#include "views/colourSchemes.h"
#include "views/desktop.h"
#include "views/images.h"
#include "views/qtText.h"

namespace tessarin {

namespace {

// The files of the command line, from the root: another copy has another current folder.
std::vector<std::string> sourcesOf(const QStringList& arguments) {
  std::vector<std::string> paths;
  for (const QString& argument : arguments) {
    std::error_code failed;
    const auto path = std::filesystem::absolute(argument.toStdString(), failed);
    if (!failed)
      paths.push_back(path.lexically_normal().string());
  }
  return paths;
}

// Qt's own texts ("OK", the file panels) in the language of the others.
void translateQt(QApplication& application) {
  auto* texts = new QTranslator(&application);
  if (texts->load("qtbase_" + qtText(Bundle::main().language()),
                  QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
    application.installTranslator(texts);
}

void showAndWait(QtRunLoop& loop, const Alert& alert) {
  QtAlerts alerts;
  alerts.show(alert, [&loop](AlertAnswer) { loop.stop(0); });
  loop.run();
}

// A second copy: its files go to the first one.
int runAsSecond(QtRunLoop& loop, const SingleInstance& instance,
                const std::vector<std::string>& paths) {
  logFormat("APP number of copy  :-( {}", 2);
  const bool isHandedOver = instance.handOver(paths);
  if (paths.empty() || !isHandedOver)
    showAndWait(loop, alreadyRunningAlert());
  return isHandedOver ? 0 : 1;
}

// The ffmpeg of the user's setting is handed to the tools through the environment, where a value
// that is there already wins.
void exportFfmpegSetting(const PreferenceStore& preferences) {
  const std::string setting = preferences.prefReadString("ffmpegPath");
  if (!setting.empty())
    ::setenv(ffmpegVariable, setting.c_str(), 0);
}

// What the controller's choices are made from: the keys that are stored.
Dico storedChoices(const PreferenceStore& preferences) {
  Dico stored;
  for (const auto& [key, value] : prefDefaults())
    if (const Value* own = preferences.prefRead(key))
      stored.set(key, *own);
  return stored;
}

void stopLoop(QtRunLoop& loop) {
  for (const char* attempt : {"pas encore quitté ?!? …on recommence: et 1…", "…et 2", "…et 3"}) {
    logLine(attempt);
    loop.stop(0);
    if (!loop.isRunning())
      return;
  }
  logLine("…et 3 :-( echec");
}

int runWindow(QtRunLoop& loop, SingleInstance& instance, const std::vector<std::string>& paths) {
  logLine("only one opened app :-)");
  if (const auto refusal = installPathRefusal()) {
    showAndWait(loop, *refusal);
    return 1;
  }
  logLine("post old processes  :-)");
  rotateLogs();
  redirectStdoutToFile(detailLogPath());

  FileUserDomain domain(userDomainPath(), &loop);
  PreferenceStore preferences(domain);
  exportFfmpegSetting(preferences);
  const auto ffmpeg = findFfmpeg(ffmpegSearchOfEnvironment(Bundle::main().toolPath("ffmpeg")));
  if (!ffmpeg) {
    showAndWait(loop, {ffmpeg.reason(), "", {}, "", Alert::Style::critical});
    return 1;
  }
  recordEnvironment();
  takeCodecInventory();
  // So that the adapter need not ask ffmpeg before every conversion.
  ::setenv(ffmpegVersionVariable, versionOfListing(codecListing()).c_str(), 0);

  QtAlerts alerts;
  setUserAlerts(&alerts);
  {
    appDelegate app({loop, preferences, alerts, revealInFileBrowser});
    RefusedSources refused(app.queue(), alerts);
    logLine("dnd                 - post");
    const auto quit = [&app, &loop] { app.iba_menuQuit([&loop] { stopLoop(loop); }); };
    logLine("PREFERENCES         - begin");
    app.prefs2GuiApp(storedChoices(preferences));
    logLine("PREFERENCES         - end");
    followColourScheme(app.interface.colour);
    MainWindow window(app, {quit, revealInFileBrowser, openWithDesktop});
    alerts.setWindow(&window);
    logLine("localisations       - post");
    logLine("\n\n----------\nawakeFromNib        - end\n----------\n\n");

    app.quitAccepted.connect([&window, &alerts] {
      window.hide();
      alerts.close();
    });
    SignalWatch signals(loop, {SIGINT, SIGTERM, SIGHUP},
                        [&app, &loop](int) { app.quitAtOnce([&loop] { stopLoop(loop); }); });
    instance.serve([&app, &window](const std::vector<std::string>& handed) {
      window.bringToFront();
      if (!handed.empty())
        app.applicationOpenFiles(handed);
    });
    logLine("\n\n----------\nappDidFinishLaunchin- begin\n----------\n\n");
    window.bringToFront();
    if (!paths.empty())
      app.applicationOpenFiles(paths);
    if (!domain.problem().empty())
      alerts.show({domain.problem(), ""});
    loop.run();
    app.applicationWillTerminate();
  }
  setUserAlerts(nullptr);
  return 0;
}

}  // namespace

}  // namespace tessarin

int main(int count, char** arguments) {
  using namespace tessarin;
  QApplication application(count, arguments);
  // Qt takes the user's language for numbers, too; what tools print has points.
  std::setlocale(LC_NUMERIC, "C");
  std::signal(SIGPIPE, SIG_IGN);
  QApplication::setApplicationName(qtText(Bundle::main().name()));
  QApplication::setDesktopFileName("org.tessarin.Tessarin");
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication::setWindowIcon(
      QIcon(drawing("tessarin", 128, Qt::black, application.devicePixelRatio())));
  translateQt(application);

  QtRunLoop loop;
  SingleInstance instance(loop, runtimeFolder());
  const auto paths = sourcesOf(QApplication::arguments().mid(1));
  return instance.isFirst() ? runWindow(loop, instance, paths) : runAsSecond(loop, instance, paths);
}
