// The helper's status answer as the app reads it off the wire: messages built
// with sd-bus on a private bus, sealed as if received, then read.
#include "support/PrivateBus.h"
#include "app/fan/StatusMessage.h"

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <cmath>
#include <functional>
#include <limits>

using quillon::app::StatusMessage;

namespace {

class StatusMessageTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(privateBus.ready());
        ASSERT_GE(sd_bus_new(&bus), 0);
        ASSERT_GE(sd_bus_set_address(bus, privateBus.address().toUtf8().constData()), 0);
        ASSERT_GE(sd_bus_set_bus_client(bus, 1), 0);
        ASSERT_GE(sd_bus_start(bus), 0);
    }
    void TearDown() override { sd_bus_flush_close_unref(bus); }

    // A message whose body `fill` appends, as it reads once received.
    QVariantMap read(const std::function<void(sd_bus_message*)>& fill)
    {
        sd_bus_message* m = nullptr;
        EXPECT_GE(sd_bus_message_new_method_call(bus, &m, "org.quillon.Test", "/t", "org.quillon.Test", "T"), 0);
        fill(m);
        EXPECT_GE(sd_bus_message_seal(m, 1, 0), 0);
        EXPECT_GE(sd_bus_message_rewind(m, true), 0);
        QVariantMap status = StatusMessage::read(m);
        sd_bus_message_unref(m);
        return status;
    }

    quillon::test::PrivateBus privateBus;
    sd_bus* bus = nullptr;
};

// One entry `key` holding `count` fans (aa{sv}), fan i turning at 1000 + i rpm.
void fans(sd_bus_message* m, const char* key, int count)
{
    sd_bus_message_open_container(m, 'e', "sv");
    sd_bus_message_append(m, "s", key);
    sd_bus_message_open_container(m, 'v', "aa{sv}");
    sd_bus_message_open_container(m, 'a', "a{sv}");
    for (int i = 0; i < count; ++i)
        sd_bus_message_append(m, "a{sv}", 2, "index", "i", i, "currentRPM", "d", 1000.0 + i);
    sd_bus_message_close_container(m);
    sd_bus_message_close_container(m);
    sd_bus_message_close_container(m);
}

TEST_F(StatusMessageTest, TheHelpersAnswerReadsAsPlainValuesWithItsFansAsAListOfMaps)
{
    const QVariantMap status = read([](sd_bus_message* m) {
        sd_bus_message_open_container(m, 'a', "{sv}");
        sd_bus_message_append(m, "{sv}", "floorPercent", "d", 42.5);
        sd_bus_message_append(m, "{sv}", "isBoosted", "b", 1);
        sd_bus_message_append(m, "{sv}", "tempSensorCount", "i", 7);
        sd_bus_message_append(m, "{sv}", "safetyRelease", "s", "zu heiß");
        sd_bus_message_append(m, "{sv}", "cpuTemp", "d", std::numeric_limits<double>::quiet_NaN());
        fans(m, "fans", 2);
        sd_bus_message_close_container(m);
    });
    EXPECT_EQ(status.value("floorPercent").toDouble(), 42.5);
    EXPECT_EQ(status.value("isBoosted").typeId(), QMetaType::Bool);
    EXPECT_TRUE(status.value("isBoosted").toBool());
    EXPECT_EQ(status.value("tempSensorCount").toInt(), 7);
    EXPECT_EQ(status.value("safetyRelease").toString(), QStringLiteral("zu heiß"));
    EXPECT_TRUE(std::isnan(status.value("cpuTemp").toDouble())) << "judged by the model, not here";
    const QVariantList list = status.value("fans").toList();
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list[1].toMap().value("index").toInt(), 1);
    EXPECT_EQ(list[1].toMap().value("currentRPM").toDouble(), 1001.0);
}

TEST_F(StatusMessageTest, WhatNoStatusHoldsIsLeftOutAndTheRestStillRead)
{
    const QVariantMap odd = read([](sd_bus_message* m) {
        sd_bus_message_open_container(m, 'a', "{sv}");
        sd_bus_message_append(m, "{sv}", "blob", "ay", 3, 1, 2, 3);
        sd_bus_message_append(m, "{sv}", "pair", "(ii)", 1, 2);
        sd_bus_message_append(m, "{sv}", "names", "as", 2, "a", "b");
        sd_bus_message_append(m, "{sv}", "fanControlUnavailable", "s", "");
        sd_bus_message_append(m, "{sv}", "gpuTemp", "d", 61.0);
        sd_bus_message_close_container(m);
    });
    EXPECT_EQ(odd.keys(), (QStringList{"fanControlUnavailable", "gpuTemp"}));

    const QVariantMap nested = read([](sd_bus_message* m) {
        sd_bus_message_open_container(m, 'a', "{sv}");
        sd_bus_message_append(m, "{sv}", "fans", "as", 1, "F0");
        fans(m, "deep", 1);
        sd_bus_message_append(m, "{sv}", "floorPercent", "d", 10.0);
        sd_bus_message_close_container(m);
    });
    EXPECT_EQ(nested.keys(), QStringList{"floorPercent"}) << "a fan list only under \"fans\", and only as aa{sv}";

    EXPECT_TRUE(read([](sd_bus_message* m) { sd_bus_message_append(m, "as", 1, "fans"); }).isEmpty());
    EXPECT_TRUE(read([](sd_bus_message* m) { sd_bus_message_append(m, "a{sv}ai", 0, 0); }).isEmpty());
}

TEST_F(StatusMessageTest, AFloodOfEntriesOrFansIsCutAtItsBound)
{
    const QVariantMap status = read([](sd_bus_message* m) {
        sd_bus_message_open_container(m, 'a', "{sv}");
        for (int i = 0; i < 200; ++i)
            sd_bus_message_append(m, "{sv}", QByteArray("k" + QByteArray::number(1000 + i)).constData(), "i", i);
        fans(m, "fans", 40);
        sd_bus_message_close_container(m);
    });
    EXPECT_EQ(status.size(), StatusMessage::kMaxEntries);
    EXPECT_EQ(status.value("k1063").toInt(), 63);

    const QVariantMap many = read([](sd_bus_message* m) {
        sd_bus_message_open_container(m, 'a', "{sv}");
        fans(m, "fans", 40);
        sd_bus_message_append(m, "{sv}", "floorPercent", "d", 5.0);
        sd_bus_message_close_container(m);
    });
    ASSERT_EQ(many.value("fans").toList().size(), StatusMessage::kMaxFans);
    EXPECT_EQ(many.value("fans").toList().last().toMap().value("index").toInt(), StatusMessage::kMaxFans - 1);
    EXPECT_EQ(many.value("floorPercent").toDouble(), 5.0) << "read past the fans it skipped";
}

} // namespace
