#pragma once

#include "core/TreeNode.h"
#include "tests/soak/ConsoleHand.h"

#include <QString>

#include <functional>
#include <vector>

class ObjectTreeView;

/// What an operator does with the console, by keys and mouse only: a table of actions, each with a weight. Which window
/// and control it hits depends on what is open.
class ConsoleActions
{
public:
    struct Action
    {
        const char* Name;
        int Weight;
        /// False when there is nothing at present to do it with.
        std::function<bool()> Do;
        int Count = 0;
    };

    /// `batchFile` is what batches are read from.
    ConsoleActions(ConsoleHand& hand, QString batchFile);

    /// Does one of them, by weight; pop-ups, boxes and file dialogs come first. `doing` hears its name before.
    void DoOne(const std::function<void(const char*)>& doing);
    /// A step on the way to a console in which nothing waits and nothing runs.
    void ComeToRest();
    void CloseAllWindows();
    void ClearLog();
    void Leave();

    const std::vector<Action>& All() const { return m_All; }
    static constexpr const char* AnswerName = "answer what has opened";
    int Answers() const { return m_Answers; }

private:
    bool AnswerPopup();
    bool AnswerBox();
    bool AnswerFileDialog();
    /// The front window when it is this kind.
    template <typename Kind>
    Kind* FrontAs() const
    {
        return qobject_cast<Kind*>(m_Hand.Front());
    }
    ObjectTreeView* Tree() const;
    /// Goes to a node of such a kind by keys.
    bool Seek(NodeTag tag);
    QPoint PlaceOfCurrent() const;
    bool Walk();
    bool OpenNode();
    bool NodeMenu();
    bool Menu();
    bool PressButton();
    bool PressCommand();
    bool TypeIntoField();
    bool Tick();
    bool List();
    bool Wheel();
    bool DragSomething();
    bool ContextMenu();
    bool Measure();
    bool Keys();
    bool Find();
    bool Statement();
    bool Script();
    bool Guide();
    bool Batch();
    bool Rest();
    bool OtherWindow();
    bool Resize();
    bool CloseWindow();
    void OpenMenu(const QString& name);
    bool TypeOver(QWidget* field, const QString& text);

    ConsoleHand& m_Hand;
    const QString m_BatchFile;
    std::vector<Action> m_All;
    int m_Answers = 0;
};
