#pragma once

#include "plotdata.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QVector>
#include <QWidget>

class QAction;
class QSpinBox;
class QwtPlot;
class QwtPlotCurve;

// A live plot of the numbers in board text: one curve per series, following
// the newest samples, with pause, clear, zoom and pan, and export as PNG or
// CSV. Lines may come by the thousand a second; drawing is paced by a timer.
class PlotView : public QWidget
{
    Q_OBJECT

public:
    // However fast the lines come.
    static constexpr int MaxFramesPerSecond = 30;

    explicit PlotView(QWidget *parent = nullptr);
    ~PlotView() override;

    // One line of board text; true when it was a sample (it held a number).
    // While paused, samples are looked at and let go.
    bool addLine(const QString &line);
    QStringList seriesNames() const;
    int pointCount(const QString &series) const; // the samples it holds now
    int frameCount() const { return m_frames; }  // redraws so far
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    // A line for the system log.
    void message(const QString &text);

protected:
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void setupToolBar();
    void setupPlot();
    void setPaused(bool paused);
    void clear();
    void setWindow(int samples);
    void saveImage();
    void saveData();
    // Asks for a file with the suffix; empty when the user cancelled.
    void changed();
    void scheduleFrame();
    void frameDue();
    void drawFrame();
    void syncCurves();
    void followNewest();

    struct Curve
    {
        QSharedPointer<PlotSeries> series;
        QwtPlotCurve *curve;
    };

    PlotData m_data;
    QwtPlot *m_plot = nullptr;
    QVector<Curve> m_curves;
    QAction *m_pauseAction = nullptr;
    QSpinBox *m_windowBox = nullptr;
    QTimer m_frameTimer;
    QElapsedTimer m_sinceFrame; // since the start of the last frame
    bool m_dirty = false;
    bool m_paused = false;
    bool m_following = true;
    int m_frames = 0;
};
