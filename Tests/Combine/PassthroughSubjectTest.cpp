#include "Combine/PassthroughSubject.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Foundation/Values/WeakRef.h"

namespace combine {
namespace {

using foundation::make;
using foundation::Ref;
using Subject = PassthroughSubject<std::string>;
using Calls = std::vector<std::string>;

class PassthroughSubjectTest : public testing::Test {
 protected:
  /// A receiver that notes its name with what it receives.
  Subject::Receiver noting(const std::string& name) {
    return [this, name](const std::string& value) { calls.push_back(name + " " + value); };
  }

  Ref<Subject> subject = make<Subject>();
  Calls calls;
};

TEST_F(PassthroughSubjectTest, CallsReceiversInTheOrderOfSubscriptionBeforeSendReturns) {
  const auto rose = subject->sink(noting("rose"));
  const auto lily = subject->sink(noting("lily"));

  subject->send("rain");

  EXPECT_EQ(calls, (Calls{"rose rain", "lily rain"}));
}

TEST_F(PassthroughSubjectTest, CallsOnTheThreadOfTheSender) {
  std::thread::id receiver;
  const auto token =
      subject->sink([&](const std::string&) { receiver = std::this_thread::get_id(); });

  std::thread::id sender;
  std::thread([&] {
    sender = std::this_thread::get_id();
    subject->send("rain");
  }).join();

  EXPECT_EQ(receiver, sender);
}

TEST_F(PassthroughSubjectTest, KeepsNothingForThoseWhoComeLater) {
  subject->send("rain");

  const auto token = subject->sink(noting("rose"));

  EXPECT_TRUE(calls.empty());
}

TEST_F(PassthroughSubjectTest, LetsAReceiverCancelItself) {
  AnyCancellable token;
  token = subject->sink([&](const std::string& value) {
    token.cancel();
    calls.push_back(value);
  });

  subject->send("rain");
  subject->send("sun");

  EXPECT_EQ(calls, Calls{"rain"});
}

TEST_F(PassthroughSubjectTest, CallsNoMoreWhomAReceiverBeforeItCancels) {
  AnyCancellable later;
  const auto first = subject->sink([&](const std::string&) { later.cancel(); });
  later = subject->sink(noting("later"));
  const auto last = subject->sink(noting("last"));

  subject->send("rain");

  EXPECT_EQ(calls, Calls{"last rain"});
}

TEST_F(PassthroughSubjectTest, CallsTheOthersWhenAnEarlierOneIsCancelled) {
  AnyCancellable earlier = subject->sink(noting("earlier"));
  const auto middle = subject->sink([&](const std::string&) { earlier.cancel(); });
  const auto last = subject->sink(noting("last"));

  subject->send("rain");
  subject->send("sun");

  EXPECT_EQ(calls, (Calls{"earlier rain", "last rain", "last sun"}));
}

TEST_F(PassthroughSubjectTest, CallsWhoSubscribesDuringASendFromTheNextOneOn) {
  std::vector<AnyCancellable> tokens;
  subject
      ->sink([&](const std::string&) {
        if (tokens.size() == 1) subject->sink(noting("new")).storeIn(tokens);
      })
      .storeIn(tokens);

  subject->send("rain");
  EXPECT_TRUE(calls.empty());

  subject->send("sun");
  EXPECT_EQ(calls, Calls{"new sun"});
}

TEST_F(PassthroughSubjectTest, LetsReceiversSend) {
  const auto rose = subject->sink([&](const std::string& value) {
    calls.push_back("rose " + value);
    if (value == "rain") subject->send("mud");
  });
  const auto lily = subject->sink(noting("lily"));

  subject->send("rain");

  EXPECT_EQ(calls, (Calls{"rose rain", "rose mud", "lily mud", "lily rain"}));
}

TEST_F(PassthroughSubjectTest, MayGoWhileItSends) {
  const auto rose = subject->sink([&](const std::string&) { subject = nullptr; });
  const auto lily = subject->sink(noting("lily"));

  subject->send("rain");

  EXPECT_EQ(subject, nullptr);
  EXPECT_EQ(calls, Calls{"lily rain"});
}

TEST_F(PassthroughSubjectTest, IsNotKeptAliveByTokensWhichMayEndLater) {
  AnyCancellable token = subject->sink(noting("rose"));
  const foundation::WeakRef<Subject> weak(subject);

  subject = nullptr;
  EXPECT_TRUE(weak.expired());

  token.cancel();
}

TEST_F(PassthroughSubjectTest, LetsAnExceptionOfAReceiverReachTheSender) {
  const auto rose = subject->sink([](const std::string&) { throw std::runtime_error("a worm"); });
  const auto lily = subject->sink(noting("lily"));

  EXPECT_THROW(subject->send("rain"), std::runtime_error);

  EXPECT_TRUE(calls.empty());
}

TEST_F(PassthroughSubjectTest, LetsWhatAClosureCapturedCancelOthersWhenItGoes) {
  auto lily = std::make_shared<AnyCancellable>(subject->sink(noting("lily")));
  AnyCancellable rose = subject->sink([lily](const std::string&) {});
  lily.reset();

  rose.cancel();
  subject->send("rain");

  EXPECT_TRUE(calls.empty());
}

TEST_F(PassthroughSubjectTest, KeepsAClosureAliveUntilACallOfAnotherThreadIsOver) {
  auto captured = std::make_shared<std::string>("seed");
  const std::weak_ptr<std::string> watched = captured;
  std::latch isInCall(1);
  std::latch isCancelled(1);
  AnyCancellable token = subject->sink([&, captured](const std::string&) {
    isInCall.count_down();
    isCancelled.wait();
    calls.push_back(*captured);
  });
  captured.reset();

  std::thread sender([&] { subject->send("rain"); });
  isInCall.wait();
  token.cancel();
  EXPECT_FALSE(watched.expired());
  isCancelled.count_down();
  sender.join();

  EXPECT_EQ(calls, Calls{"seed"});
  EXPECT_TRUE(watched.expired());
}

TEST(PassthroughSubject, ServesSendersAndSubscribersOfManyThreadsAtOnce) {
  const auto subject = make<PassthroughSubject<int>>();
  std::atomic<int> received = 0;
  constexpr int kRounds = 300;
  const auto listener = subject->sink([&](const int& value) { received += value; });

  const auto send = [&] {
    for (int round = 0; round < kRounds; ++round) subject->send(1);
  };
  const auto comeAndGo = [&] {
    for (int round = 0; round < kRounds; ++round) {
      const auto passing = subject->sink([](const int&) {});
      AnyCancellable cancelled = subject->sink([](const int&) {});
      cancelled.cancel();
    }
  };
  std::vector<std::jthread> threads;
  for (int pair = 0; pair < 2; ++pair) {
    threads.emplace_back(send);
    threads.emplace_back(comeAndGo);
  }
  threads.clear();

  EXPECT_EQ(received, 2 * kRounds);
}

}  // namespace
}  // namespace combine
