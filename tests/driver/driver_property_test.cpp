#include <gtest/gtest.h>
#include <string>

#include "driver/driver_fixture.h"
#include "driver/property_client.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

using Devices = std::vector<VirtualDeviceConfig>;

const Devices two = {{"BrindlemuxAudio_UID_B", "Second", 2}, {"BrindlemuxAudio_UID_A", "First", 4}};
const std::string emptyList = R"({"devices":[]})";

class DriverProperty : public DriverFixture {};

TEST_F(DriverProperty, isPublishedWithAnEmptyList) {
  const PropertyClient client(server_);
  EXPECT_EQ(client.value(), emptyList);
  EXPECT_EQ(client.otherShowings(), 0);
  EXPECT_EQ(server_.run({"pw-metadata", "-n", "com.brindlemux.driver", "0", "bxcf"}).output.find("error"),
            std::string::npos);
}

TEST_F(DriverProperty, showsAWriteBeforeTheNextReply) {
  PropertyClient client(server_);
  EXPECT_EQ(client.write(encodeDriverPayload(two)), encodeDriverPayload(two));
  EXPECT_EQ(client.showings(), 2);
}

TEST_F(DriverProperty, showsTheListInNormalForm) {
  PropertyClient client(server_);
  EXPECT_EQ(client.write("{ \"other\": 1,\n\"devices\" : [ {\"channels\":2, \"name\":\"N\\u0061me\", \"extra\": null, "
                         "\"uid\":\"x\"} ] }"),
            R"({"devices":[{"uid":"x","name":"Name","channels":2}]})");
}

TEST_F(DriverProperty, keepsTheOrderOfTheList) {
  PropertyClient client(server_);
  client.write(encodeDriverPayload(two));
  const Devices reversed = {two[1], two[0]};
  EXPECT_EQ(client.write(encodeDriverPayload(reversed)), encodeDriverPayload(reversed));
}

TEST_F(DriverProperty, isShownToEveryClientAndToLaterOnes) {
  PropertyClient writer(server_);
  PropertyClient watcher(server_);
  writer.write(encodeDriverPayload(two));
  watcher.synchronise();
  EXPECT_EQ(watcher.value(), encodeDriverPayload(two));
  EXPECT_EQ(PropertyClient(server_).value(), encodeDriverPayload(two));
}

TEST_F(DriverProperty, writingTheSameListIsAnsweredToo) {
  PropertyClient client(server_);
  client.write(encodeDriverPayload(two));
  const int before = client.showings();
  client.write(encodeDriverPayload(two));
  EXPECT_EQ(client.showings(), before + 1);
}

TEST_F(DriverProperty, aRefusedPayloadLeavesTheListInForce) {
  publish(two);
  PropertyClient client(server_);
  const auto sinkBefore = dump().node(two[0].uid);
  ASSERT_TRUE(sinkBefore);
  const std::string device = R"({"uid":"x","name":"X","channels":2})";
  for (const std::string& payload :
       {std::string(), std::string("no JSON"), std::string("[]"), std::string("{}"), std::string(R"({"devices":7})"),
        std::string(R"({"devices":[7]})"), R"({"devices":[)" + device + "," + device + "]}",
        R"({"devices":[)" + device + "]} and more",
        std::string(R"({"devices":[{"uid":"x","name":"X","channels":65}]})"),
        std::string(R"({"devices":[{"uid":"x","name":"a\nb","channels":2}]})"),
        R"({"devices":[)" + device + R"(,{"uid":"x.source","name":"X","channels":2}]})",
        std::string(R"({"devices":[{"uid":"x","name":"X","channels":"2"}]})"),
        std::string("{\"devices\":[{\"uid\":\"x\",\"name\":\"\xFF\",\"channels\":2}]}")}) {
    const int before = client.showings();
    EXPECT_EQ(client.write(payload), encodeDriverPayload(two)) << payload;
    EXPECT_EQ(client.showings(), before + 1) << payload;
  }
  const ServerDump after = dump();
  EXPECT_FALSE(after.node("x"));
  ASSERT_TRUE(after.node(two[0].uid));
  EXPECT_EQ(after.node(two[0].uid)->serial, sinkBefore->serial);
}

TEST_F(DriverProperty, outlivesHugeAndDeeplyNestedPayloads) {
  PropertyClient client(server_);
  client.write(encodeDriverPayload(two));
  const std::size_t tenMegabytes = 10'000'000;
  for (const std::string& payload :
       {std::string(tenMegabytes, '['), std::string(1'000'000, '['),
        "{\"devices\":[]}" + std::string(tenMegabytes, ' '),
        "{\"devices\":" + std::string(400'000, '[') + std::string(400'000, ']') + "}",
        "{\"devices\":[{\"uid\":\"" + std::string(tenMegabytes, 'u') + "\",\"name\":\"n\",\"channels\":2}]}"}) {
    const int before = client.showings();
    EXPECT_EQ(client.write(payload), encodeDriverPayload(two));
    // The driver has seen it: it has answered.
    EXPECT_EQ(client.showings(), before + 1) << payload.size();
  }
  EXPECT_TRUE(client.synchronise());
  EXPECT_EQ(client.write(emptyList), emptyList);
  EXPECT_TRUE(server_.running());
}

TEST_F(DriverProperty, refusesTenThousandDevices) {
  PropertyClient client(server_);
  client.write(encodeDriverPayload(two));
  Devices many;
  for (int i = 0; i < 10'000; ++i) many.push_back({"uid" + std::to_string(i), "n", 2});
  EXPECT_EQ(client.write(encodeDriverPayload(many)), encodeDriverPayload(two));
  EXPECT_TRUE(server_.running());
}

TEST_F(DriverProperty, storesNothingElse) {
  PropertyClient client(server_);
  client.write(encodeDriverPayload(two));
  client.set(0, "other", "{\"devices\":[]}");
  client.set(1, "bxcf", "{\"devices\":[]}");
  EXPECT_EQ(client.value(), encodeDriverPayload(two));
  EXPECT_EQ(client.otherShowings(), 0);
  const PropertyClient later(server_);
  EXPECT_EQ(later.value(), encodeDriverPayload(two));
  EXPECT_EQ(later.otherShowings(), 0);
}

TEST_F(DriverProperty, cannotBeRemoved) {
  PropertyClient client(server_);
  client.write(encodeDriverPayload(two));
  client.set(0, "bxcf", nullptr);
  EXPECT_EQ(client.value(), encodeDriverPayload(two));
  client.set(0, nullptr, nullptr);
  EXPECT_EQ(client.value(), encodeDriverPayload(two));
  client.clear();
  EXPECT_EQ(client.value(), encodeDriverPayload(two));
  EXPECT_EQ(PropertyClient(server_).value(), encodeDriverPayload(two));
}

TEST_F(DriverProperty, canBeReadAndWrittenWithPwMetadata) {
  publish(two);
  const std::string output = server_.run({"pw-metadata", "-n", "com.brindlemux.driver"}).output;
  EXPECT_NE(output.find("key:'bxcf' value:'" + encodeDriverPayload(two) + "' type:'Spa:String:JSON'"),
            std::string::npos)
      << output;
}

}  // namespace
}  // namespace brindlemux::test
