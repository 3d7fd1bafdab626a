#pragma once

#include <QCoreApplication>
#include <QObject>
#include <memory>

namespace quillon::smc {
class SmcConnection;
class SmcTransport;
} // namespace quillon::smc

namespace quillon::ui {

// Demo mode's load control: the simulated Mac's CPU load (its QLOD key, in
// percent), which heats it up so the cooling has something to react to.
// Reads the current load once at construction.
class SimulatedLoad : public QObject {
    Q_OBJECT
    Q_PROPERTY(int percent READ percent WRITE setPercent NOTIFY percentChanged)
    Q_PROPERTY(QString problem READ problem NOTIFY percentChanged)

public:
    explicit SimulatedLoad(std::unique_ptr<smc::SmcTransport> transport, QObject* parent = nullptr);
    ~SimulatedLoad() override;

    int percent() const { return m_percent; }
    // 0..100; a failed write keeps the old value and sets problem.
    void setPercent(int percent);
    // Why the last write failed; empty after a good one.
    QString problem() const { return m_problem; }

signals:
    void percentChanged();

private:
    std::unique_ptr<smc::SmcConnection> m_smc;
    int m_percent = 0;
    QString m_problem;
};

} // namespace quillon::ui
