#pragma once

// Who acts on the lid, and handing it back, against the buses of
// InhibitBusFixture; the setting to put back is recorded in a folder of the test's.
#include "InhibitBusFixture.h"
#include "platform/linux/LinuxLidSwitchOwner.h"

#include <QDBusVariant>
#include <QTemporaryDir>

namespace quillon::test {

class LidOwnerFixture : public InhibitBusFixture {
protected:
    using LidSwitchOwner = platform::LidSwitchOwner;
    using LinuxLidSwitchOwner = platform::linux_::LinuxLidSwitchOwner;

    std::unique_ptr<LinuxLidSwitchOwner> makeOwner()
    {
        return std::make_unique<LinuxLidSwitchOwner>(sessionBus.connection(), systemBus.connection(), marker);
    }
    // Who holds the lid, once the owner has been told.
    LidSwitchOwner::Owner ownerOf(LinuxLidSwitchOwner& owner)
    {
        std::optional<LidSwitchOwner::Owner> told;
        owner.askOwner([&](const LidSwitchOwner::Owner& found) { told = found; });
        EXPECT_TRUE(waitUntil([&] { return told.has_value(); }));
        return told.value_or(LidSwitchOwner::Owner{LidSwitchOwner::Desktop::other, "never told"});
    }
    // Whether the hand-over was accepted, once answered; problem says why not.
    bool handOver(LinuxLidSwitchOwner& owner, QString& problem)
    {
        std::optional<bool> accepted;
        owner.handOver([&](bool ok, const QString& why) {
            accepted = ok;
            problem = why;
        });
        EXPECT_TRUE(waitUntil([&] { return accepted.has_value(); }, std::chrono::seconds(10)));
        return accepted.value_or(false);
    }
    // A real power manager answers a changed setting in its own time, slower on a loaded machine.
    bool ownedBy(LinuxLidSwitchOwner& owner, LidSwitchOwner::Desktop desktop)
    {
        return waitUntil([&] { return ownerOf(owner).desktop == desktop; }, std::chrono::seconds(10));
    }
    // Xfce's setting as xfconf holds it: "absent", "true" or "false".
    QString xfceLidSetting()
    {
        const QDBusMessage reply = sessionBus.connection().call(
            QDBusMessage::createMethodCall("org.xfce.Xfconf", "/org/xfce/Xfconf", "org.xfce.Xfconf", "GetProperty")
            << QString("xfce4-power-manager") << QString("/xfce4-power-manager/logind-handle-lid-switch"));
        if (reply.type() != QDBusMessage::ReplyMessage)
            return "absent";
        return reply.arguments().value(0).value<QDBusVariant>().variant().toBool() ? "true" : "false";
    }
    void setXfceLidSetting(bool value)
    {
        sessionBus.connection().call(
            QDBusMessage::createMethodCall("org.xfce.Xfconf", "/org/xfce/Xfconf", "org.xfce.Xfconf", "SetProperty")
            << QString("xfce4-power-manager") << QString("/xfce4-power-manager/logind-handle-lid-switch")
            << QVariant::fromValue(QDBusVariant(value)));
    }

    QTemporaryDir state;
    QString marker = state.filePath("quillon/xfce-lid-handover");
};

} // namespace quillon::test
