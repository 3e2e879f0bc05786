// An opt-in log of time-stamped lines that lets a user send back evidence when the
// playhead freezes or the GUI thread hangs.
//
// Enabled when QUORVALINDER_PLAYHEAD_DIAGNOSTICS is exactly "1", or "yes" or "true" in
// any case; read once per process. Disabled, every call returns after one flag test and
// nothing else runs. Enabled: an in-memory ring of at most 1200 lines, oldest first; a
// flush at most every 5 s (driven by `record`) and on demand; and a watchdog thread that
// every 0.5 s posts one probe to the GUI thread (never a second while one is in flight)
// and records "MAIN_THREAD_STALL_DETECTED seconds=%.3f" when the probe waited over 0.75 s.
//
// Log file: `logPath`, by default $XDG_STATE_HOME/Quorvalinder/playhead-diagnostics.log
// (~/.local/state when unset). Plain UTF-8, one line per record, "%.3f %@": seconds of a
// monotonic clock (the system uptime on Linux) with three decimals, a blank, the message.
// Each flush rewrites the whole file atomically with the current ring and a final "\n",
// on a serial writer thread with a copy of the text; write errors are ignored.
//
// Threads: `record` and `flushNow` on the GUI thread only (the ring is touched there
// alone); the stall figures may be read anywhere.
#pragma once

#include <QString>
#include <QStringList>
#include <QThreadPool>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

class QObject;

class QVPlayheadDiagnostics {
public:
    static constexpr int kMaxLines = 1200;
    static constexpr double kFlushInterval = 5.0;
    static constexpr double kStallThreshold = 0.75;

    struct Options {
        bool enabled = false;
        QString logPath;
        double watchdogInterval = 0.5;
    };

    // Created on first use from the environment; never destroyed.
    static QVPlayheadDiagnostics& shared();
    // The enabling rule for one value of the variable (null when it is not set).
    static bool enabledForValue(const char* value);
    // The rule applied to this process's environment, evaluated once.
    static bool enabledInEnvironment();
    static QString defaultLogPath();
    // Monotonic seconds; the time base of every line.
    static double uptime();

    explicit QVPlayheadDiagnostics(Options options);
    // Stops the watchdog and waits for pending writes.
    ~QVPlayheadDiagnostics();
    QVPlayheadDiagnostics(const QVPlayheadDiagnostics&) = delete;
    QVPlayheadDiagnostics& operator=(const QVPlayheadDiagnostics&) = delete;

    bool enabled() const { return _enabled; }
    const QString& logPath() const { return _logPath; }
    double lastMainThreadStallTime() const { return _lastStallTime.load(); }
    double lastMainThreadStallDuration() const { return _lastStallDuration.load(); }

    void record(const QString& message);
    void flushNow();
    // Blocks until every flush asked for so far is on disk.
    void waitForWrites();
    QStringList lines() const;

private:
    void startWatchdog(double interval);
    void probeMainThread(double postedAt);

    const bool _enabled;
    const QString _logPath;
    std::deque<QString> _lines;
    double _lastFlush = 0;
    QThreadPool _writer;

    std::atomic<bool> _probePending{false};
    std::atomic<double> _lastStallTime{0};
    std::atomic<double> _lastStallDuration{0};
    // Probes are queued to this GUI-thread object, so none runs after it is gone.
    std::unique_ptr<QObject> _probeTarget;
    std::thread _watchdog;
    std::mutex _watchdogMutex;
    std::condition_variable _watchdogWake;
    bool _stopping = false;
};
