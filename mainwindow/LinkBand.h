#pragma once

#include <QTimer>
#include <QWidget>

#include <functional>

class QMainWindow;

/// A coloured band below the toolbar that says to which machine's server the console is linked, and what is wrong with
/// the link. A console on its own machine's server has none.
class LinkBand : public QWidget
{
    Q_OBJECT

public:
    /// How the link stands.
    struct State
    {
        QString Place;   ///< USER@HOST
        QString Trouble; ///< in one line; empty when nothing is wrong
        bool IsUp = false;

        bool operator==(const State&) const = default;
    };

    /// Adds the band; `read` is asked several times a second.
    LinkBand(QMainWindow& window, std::function<State()> read);

    QString Text() const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void Look();
    QColor Background() const;

    std::function<State()> m_Read;
    State m_State;
    QTimer m_Look;
};
