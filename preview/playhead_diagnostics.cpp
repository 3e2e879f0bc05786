#include "playhead_diagnostics.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QMetaObject>
#include <QObject>
#include <QSaveFile>

#include <chrono>

QVPlayheadDiagnostics& QVPlayheadDiagnostics::shared()
{
    static QVPlayheadDiagnostics* const diagnostics =
        new QVPlayheadDiagnostics({.enabled = enabledInEnvironment(), .logPath = defaultLogPath()});
    return *diagnostics;
}

bool QVPlayheadDiagnostics::enabledForValue(const char* value)
{
    if (!value) return false;
    const QString text = QString::fromUtf8(value);
    return text == QLatin1String("1") || text.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0
           || text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
}

bool QVPlayheadDiagnostics::enabledInEnvironment()
{
    static const bool enabled = [] {
        const QByteArray value = qgetenv("QUORVALINDER_PLAYHEAD_DIAGNOSTICS");
        return enabledForValue(qEnvironmentVariableIsSet("QUORVALINDER_PLAYHEAD_DIAGNOSTICS") ? value.constData()
                                                                                              : nullptr);
    }();
    return enabled;
}

QString QVPlayheadDiagnostics::defaultLogPath()
{
    QString state = qEnvironmentVariable("XDG_STATE_HOME");
    // XDG base directories: a relative value is to be ignored.
    if (state.isEmpty() || QDir::isRelativePath(state)) state = QDir::homePath() + QStringLiteral("/.local/state");
    return state + QStringLiteral("/Quorvalinder/playhead-diagnostics.log");
}

double QVPlayheadDiagnostics::uptime()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

QVPlayheadDiagnostics::QVPlayheadDiagnostics(Options options)
    : _enabled(options.enabled)
    , _logPath(std::move(options.logPath))
{
    _writer.setMaxThreadCount(1);
    _writer.setObjectName(QStringLiteral("com.ostrelle.quorvalinder.playhead-diagnostics"));
    if (!_enabled) return;
    QDir().mkpath(QFileInfo(_logPath).absolutePath());
    record(QStringLiteral("session-start diagnostics=v2 interval=0.12 snapshot=2.0 stall-threshold=2.0 "
                          "heartbeat=0.5 max-lines=1200"));
    startWatchdog(options.watchdogInterval);
    qInfo().noquote() << QStringLiteral("Quorvalinder playhead diagnostics enabled: %1").arg(_logPath);
}

QVPlayheadDiagnostics::~QVPlayheadDiagnostics()
{
    if (_watchdog.joinable()) {
        {
            std::lock_guard lock(_watchdogMutex);
            _stopping = true;
        }
        _watchdogWake.notify_all();
        _watchdog.join();
    }
    _writer.waitForDone();
}

void QVPlayheadDiagnostics::record(const QString& message)
{
    if (!_enabled || message.isEmpty()) return;
    const double now = uptime();
    _lines.push_back(QString::number(now, 'f', 3) + QLatin1Char(' ') + message);
    while (_lines.size() > kMaxLines) _lines.pop_front();
    if (now - _lastFlush >= kFlushInterval) {
        _lastFlush = now;
        flushNow();
    }
}

void QVPlayheadDiagnostics::flushNow()
{
    if (!_enabled) return;
    QString text;
    for (const QString& line : _lines) {
        text += line;
        text += QLatin1Char('\n');
    }
    _writer.start([path = _logPath, bytes = text.toUtf8()] {
        QSaveFile file(path);
        if (file.open(QIODevice::WriteOnly)) {
            file.write(bytes);
            file.commit();
        }
    });
}

void QVPlayheadDiagnostics::waitForWrites()
{
    _writer.waitForDone();
}

QStringList QVPlayheadDiagnostics::lines() const
{
    return QStringList(_lines.begin(), _lines.end());
}

void QVPlayheadDiagnostics::startWatchdog(double interval)
{
    _probeTarget = std::make_unique<QObject>();
    if (auto* app = QCoreApplication::instance()) _probeTarget->moveToThread(app->thread());
    QObject* target = _probeTarget.get();
    _watchdog = std::thread([this, target, interval] {
        const auto period = std::chrono::duration<double>(interval);
        std::unique_lock lock(_watchdogMutex);
        while (!_watchdogWake.wait_for(lock, period, [this] { return _stopping; })) {
            bool idle = false;
            if (!_probePending.compare_exchange_strong(idle, true)) continue;
            const double postedAt = uptime();
            QMetaObject::invokeMethod(target, [this, postedAt] { probeMainThread(postedAt); }, Qt::QueuedConnection);
        }
    });
}

void QVPlayheadDiagnostics::probeMainThread(double postedAt)
{
    const double now = uptime();
    const double lag = now - postedAt;
    if (lag > kStallThreshold) {
        _lastStallTime = now;
        _lastStallDuration = lag;
        record(QStringLiteral("MAIN_THREAD_STALL_DETECTED seconds=%1").arg(lag, 0, 'f', 3));
    }
    _probePending = false;
}
