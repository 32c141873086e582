#pragma once

#include <QObject>

#include <memory>

class frmGuide;
class Platform;

/// The user's guide: opens its pages in the desktop's browser, else in a window of the console's own.
class Guide : public QObject
{
    Q_OBJECT

public:
    explicit Guide(Platform& system);
    ~Guide() override;

    /// `page` is its way below the guide's folder, such as guide/watch.html.
    void Open(const QString& page);
    /// Closes the console's own window; pages in a browser stay.
    void Close();

private:
    void OpenInWindow(const QString& page);

    Platform& m_System;
    /// None until the guide is opened where no browser is.
    std::unique_ptr<frmGuide> m_Window;
};
