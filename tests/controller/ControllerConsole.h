#pragma once

#include "core/ChildWindow.h"
#include "tests/support/WindowTest.h"

/// A console with one window of the controller room.
class ControllerConsole : public WindowTest<ChildWindow>
{
protected:
    FakeServer::Controller& Controller() { return m_Server.FindController(u"PLC1"_s); }

    /// Loads the window and forgets the calls that it took; null when it did not want to be loaded.
    template <typename Form>
    ChildWindow* Open()
    {
        m_Form = ChildWindow::Open<Form>(m_Controller);
        TakeCalls();
        return m_Form;
    }
};
