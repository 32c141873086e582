#include "core/automation/PlainText.h"
#include "tests/server/Outcome.h"
#include "tests/support/RealServer.h"
#include "velsqllib/RemoteLibrary.h"

#include <QThread>

#include <gtest/gtest.h>

namespace {

/// Steps on items of the real server, of which nothing changes by itself.
class CallsInTurn : public ::testing::Test
{
protected:
    CallsInTurn()
    {
        m_Server.Start();
        m_Engine = m_Library.CreateEngine();
        Ask(u"state PLC1 2"_s);
        for (const QString& name : {u"D100"_s, u"Reset"_s, u"Set point copy"_s}) AddRows(Item(name));
        for (const QString& name : {u"D100"_s, u"Nothing"_s}) Add([this, name] { return LookedUp(name)->get_Name(); });
        Add([this] { LookedUp(u"D100"_s)->put_Value(Variant(25)); });
        Item(u"Set point copy"_s)->put_LinkActivation(true);
        Ask(u"calls"_s);
    }

    QString Ask(const QString& command) { return ToPlainText(m_Engine->Execute(command)); }
    ItemRef Item(const QString& name) { return m_Engine->FindItem(u"PLC1"_s, name).Item; }
    ItemRef LookedUp(const QString& name)
    {
        return m_Engine->get_Controller(Variant(u"PLC1"_s))->get_Item(Variant(name));
    }
    void AddRows(const ItemRef& item)
    {
        Add([item] { return item->get_Name(); });
        Add([item] { return item->get_Attribute() == 2 ? Variant(u"n/a"_s) : item->get_Value(); });
        for (const qint32 index : {0, 35, 36}) Add([item, index] { return item->get_SettingData(index); });
        Add([item] {
            if (item->get_Activation()) OutcomeOf([&] { item->put_Activation(true); }); // as a window, which logs it
            if (item->get_LinkActivation()) item->put_LinkActivation(true);
            return item->get_LinkItem();
        });
    }
    template <typename Read>
    void Add(Read read)
    {
        m_Steps << CallStep{read, [this, read] { m_Read << OutcomeOf(read); }};
    }
    /// In how many portions.
    int TakeAll(bool together = true)
    {
        int portions = 0;
        for (qsizetype next = 0; next < m_Steps.size(); ++portions)
            next += together ? m_Library.TakeSteps(m_Steps, next) : m_Library.VelSQLLib::TakeSteps(m_Steps, next);
        return portions;
    }

    RealServer m_Server;
    RemoteLibrary m_Library{m_Server.SocketPath(), QString()};
    EngineRef m_Engine;
    QList<CallStep> m_Steps;
    QStringList m_Read;
};

} // namespace

TEST_F(CallsInTurn, ReadTheSameThroughTheSameCallsInTheSameOrder)
{
    const QString undisturbed = u"restore"_s, slow = u"disturb Item.get_SettingData slow 15"_s;
    for (const QString& disturbance :
         {undisturbed, u"disturb Item.get_Name fail "_s, slow, u"disturb Item.get_Attribute fail <b>No</b>\r\nü"_s,
          u"disturb Item.get_Activation fail no"_s, u"disturb Item.put_Activation fail no"_s}) {
        SCOPED_TRACE(disturbance.toStdString());
        Ask(undisturbed), Ask(disturbance), Ask(u"calls"_s);
        const int portions = TakeAll();
        EXPECT_EQ(portions > 1, disturbance == slow) << portions;
        const QStringList read = std::exchange(m_Read, {}), calls = Ask(u"calls"_s).split(u"\r\n"_s);
        TakeAll(false);
        EXPECT_EQ(read, std::exchange(m_Read, {}));
        EXPECT_EQ(calls, Ask(u"calls"_s).split(u"\r\n"_s));
    }
}

TEST_F(CallsInTurn, WhatWasNotForeseenIsAskedByItself)
{
    m_Steps.clear();
    Add([item = Item(u"Reset"_s)] { return item->get_SettingData(item->get_Attribute() / 2); });
    Add([item = Item(u"Reset"_s)] { return item->get_Activation() ? item->get_Name() : u"off"_s; });
    EXPECT_EQ(TakeAll(), 1);
    EXPECT_EQ(m_Read, QStringList({u"8,VT_BOOL"_s, u"Reset"_s}));
}

TEST_F(CallsInTurn, AServerThatGoesIsToldStepByStepAndTheNextOneAnswersTogether)
{
    TakeAll();
    const QStringList right = std::exchange(m_Read, {});
    m_Server.Kill();
    EXPECT_EQ(TakeAll(), m_Steps.size());
    EXPECT_EQ(std::exchange(m_Read, {}).mid(1), QStringList(m_Steps.size() - 1, u"The server is not running."_s));
    m_Server.Start();
    QThread::msleep(1000);
    Item(u"Set point copy"_s)->put_LinkActivation(true);
    EXPECT_EQ(TakeAll(), 1);
    ASSERT_EQ(m_Read.size(), right.size());
    m_Read[13] = right[13]; // a linked value: it may have come already, or not yet
    EXPECT_EQ(m_Read, right);
}
