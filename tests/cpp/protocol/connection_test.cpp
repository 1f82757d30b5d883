// The connection of a handle against a model: what several threads do to it at once must look as if they had done it
// one after the other.
#include "protocol/network_device.h"
#include "tests/cpp/protocol/fakes.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

namespace qvx::test {
namespace {

using State = Connection::State;

constexpr int kThreads = 3;
constexpr int kOpsOfARound = 3;
constexpr int kRounds = 12;
constexpr auto kLimit = std::chrono::seconds(100);

// A transport that takes its time, and from whose read the application may call back.
class SlowTransport : public FakeTransport {
 public:
  SlowTransport() = default;
  // Reads and connects that don't come back for so long, whatever they are told.
  SlowTransport(std::chrono::milliseconds reading, std::chrono::milliseconds connecting)
      : reading_(reading), connecting_(connecting) {}

  std::vector<Frame> recvAndSplitPacket(std::size_t size) override {
    std::this_thread::sleep_for(reading_);
    auto frames = FakeTransport::recvAndSplitPacket(size);
    if (const auto call = nextCall()) {
      (*call)();
    }
    return frames;
  }
  bool connect(const std::string& address, int number) override {
    std::this_thread::sleep_for(connecting_);
    lost_ = false;
    if (refusing_) {
      fail(ErrorId::NetworkConnectionError, "refused");
    }
    return FakeTransport::connect(address, number);
  }
  void breakDown() {
    lost_ = true;
    lose();
  }
  bool lost() const { return lost_; }
  void refuse(bool on) { refusing_ = on; }
  // To be called once, from within a read; takeBack returns false when it has been.
  using Call = std::shared_ptr<std::function<void()>>;
  void callBack(Call call) {
    const std::lock_guard lock(mutex_);
    calls_.push_back(std::move(call));
  }
  bool takeBack(const Call& call) {
    const std::lock_guard lock(mutex_);
    return std::erase(calls_, call) != 0;
  }

 private:
  Call nextCall() {
    const std::lock_guard lock(mutex_);
    if (calls_.empty()) {
      return nullptr;
    }
    const Call call = calls_.front();
    calls_.pop_front();
    return call;
  }

  const std::chrono::milliseconds reading_{0};
  const std::chrono::milliseconds connecting_{0};
  std::atomic<bool> lost_ = false;
  std::atomic<bool> refusing_ = false;
  std::mutex mutex_;  // guards calls_
  std::deque<Call> calls_;
};

// Ends the program when a test hangs, and tells where everybody stands.
class Watchdog {
 public:
  explicit Watchdog(std::string what) : what_(std::move(what)) {
    thread_ = std::thread([this] {
      std::unique_lock lock(mutex_);
      if (!changed_.wait_for(lock, kLimit, [this] { return done_; })) {
        std::fprintf(stderr, "%s hangs:\n", what_.c_str());
        for (const auto& place : places_) {
          std::fprintf(stderr, "  %s\n", place.c_str());
        }
        std::abort();
      }
    });
  }
  ~Watchdog() {
    {
      const std::lock_guard lock(mutex_);
      done_ = true;
    }
    changed_.notify_all();
    thread_.join();
  }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;
  void at(std::size_t who, std::string place) {
    const std::lock_guard lock(mutex_);
    places_.at(who) = std::move(place);
  }

 private:
  const std::string what_;
  std::mutex mutex_;  // guards the two that follow
  std::array<std::string, kThreads + 1> places_;
  bool done_ = false;
  std::condition_variable changed_;
  std::thread thread_;
};

enum class Kind : std::uint8_t { Connect, Disconnect, Close, Lose, Replace, DisconnectWithin, CloseWithin };
constexpr std::array<const char*, 7> kNames{"connect", "disconnect",        "close",       "lose",
                                            "replace", "disconnect within", "close within"};

// What was done, when, and what came of it: "" for a success, else the message of the failure.
struct Step {
  Kind kind{};
  Clock::time_point begun{};
  Clock::time_point ended = Clock::time_point::max();
  std::string result{};

  bool closes() const { return kind == Kind::Close || kind == Kind::CloseWithin; }
  bool ends() const { return kind == Kind::Disconnect || kind == Kind::DisconnectWithin || closes(); }
  bool beside(const Step& other) const { return begun <= other.ended && other.begun <= ended; }
};

// What the model knows: one of these.
struct Model {
  State state = State::Disconnected;
  bool closed = false;
  bool breaking = false;  // the transport has failed, and nobody has met that yet
  auto operator<=>(const Model&) const = default;
};

bool has(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

// What may be the case after one step, where it was the only one that acted.
std::vector<Model> after(const Model& before, const Step& step, const std::vector<Step>& all) {
  const auto beside = [&](auto matches) {
    return std::ranges::any_of(
        all, [&](const Step& other) { return &other != &step && matches(other) && other.beside(step); });
  };
  const Model none{.state = State::Disconnected, .closed = before.closed};
  switch (step.kind) {
    case Kind::Connect:
      if (has(step.result, "closed")) {
        return before.closed ? std::vector{before} : std::vector<Model>{};
      }
      if (has(step.result, "Already connected")) {
        return before.state == State::Connected ? std::vector{before} : std::vector<Model>{};
      }
      if (has(step.result, "in progress")) {
        return beside([](const Step& other) { return other.kind == Kind::Connect; }) ? std::vector{before}
                                                                                     : std::vector<Model>{};
      }
      if (has(step.result, "ended by disconnect")) {
        return beside([](const Step& other) { return other.ends(); }) ? std::vector{none} : std::vector<Model>{};
      }
      if (before.closed || before.state == State::Connected) {
        return {};
      }
      if (has(step.result, "refused")) {
        return {none};
      }
      if (!step.result.empty()) {
        return {};
      }
      // The one that was connected may have been replaced before the connection was made, by one that has failed.
      return beside([](const Step& other) { return other.kind == Kind::Replace; })
                 ? std::vector<Model>{{.state = State::Connected}, {.state = State::Connected, .breaking = true}}
                 : std::vector<Model>{{.state = State::Connected}};
    case Kind::Disconnect:
    case Kind::DisconnectWithin:
      return {none};
    case Kind::Close:
    case Kind::CloseWithin:
      return {{.state = State::Disconnected, .closed = true}};
    case Kind::Lose:
      if (before.state == State::Connected) {
        return {{.state = State::Lost}, {.state = State::Connected, .breaking = true}};
      }
      return {before};
    case Kind::Replace:
      return {before};
  }
  return {};
}

// All that may be the case when these steps have been taken in some order which their times allow.
std::set<Model> reachable(const std::set<Model>& from, const std::vector<Step>& steps) {
  std::set<Model> found;
  std::set<std::pair<std::uint32_t, Model>> seen;
  const std::uint32_t all = (1U << steps.size()) - 1;
  const std::function<void(std::uint32_t, const Model&)> visit = [&](std::uint32_t taken, const Model& model) {
    if (!seen.insert({taken, model}).second) {
      return;
    }
    if (model.breaking && model.state == State::Connected) {
      visit(taken, {.state = State::Lost, .closed = model.closed});
    }
    if (taken == all) {
      found.insert(model);
      return;
    }
    const auto left = [&](std::size_t i) { return (taken >> i & 1U) == 0; };
    for (std::size_t i = 0; i < steps.size(); ++i) {
      bool next = left(i);
      for (std::size_t j = 0; j < steps.size(); ++j) {
        next = next && !(left(j) && steps[j].ended < steps[i].begun);
      }
      if (next) {
        for (const Model& then : after(model, steps[i], steps)) {
          visit(taken | 1U << i, then);
        }
      }
    }
  };
  for (const Model& model : from) {
    visit(0, model);
  }
  return found;
}

std::string tell(const std::set<Model>& models) {
  std::string text;
  for (const Model& model : models) {
    text += std::to_string(static_cast<int>(model.state)) + (model.closed ? "closed" : "") +
            (model.breaking ? "breaking" : "") + " ";
  }
  return text;
}

std::string story(const std::vector<Step>& steps) {
  std::string text;
  for (const Step& step : steps) {
    const auto us = [&](Clock::time_point t) {
      return t == Clock::time_point::max()
                 ? std::string("later")
                 : std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(t - steps[0].begun).count());
    };
    text += "  " + us(step.begun) + ".." + us(step.ended) + " us " + kNames.at(static_cast<std::size_t>(step.kind)) +
            (step.result.empty() ? "" : ": " + step.result) + "\n";
  }
  return text;
}

bool noDriverThreadIsLeft() {
  return eventually([] {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::none_of(begin(tasks), end(tasks), [](const auto& task) {
      std::string name;
      std::getline(std::ifstream(task.path() / "comm"), name);
      return name.starts_with("qvx-");
    });
  });
}

// One handle, what is done to it, and what is known of it.
class Trial {
 public:
  explicit Trial(unsigned seed)
      : watchdog_("seed " + std::to_string(seed)),
        random_(seed),
        slow_(seed % 4 == 3),
        device_(ProductId::FeroxA, true) {
    replace();
    device_.onConnection({.begun = [](std::uint64_t) {}, .lost = [this] { ++losses_; }});
    device_.onConnectionLost([this] { ++told_; });
  }

  void run() {
    for (int round = 0; round < kRounds && !testing::Test::HasFailure(); ++round) {
      takeRound();
    }
    take({Kind::Close});
    check();
    EXPECT_EQ(device_.state(), State::Disconnected);
    EXPECT_FALSE(device_.commandChannel().worker().alive());
    EXPECT_TRUE(noDriverThreadIsLeft());
  }

 private:
  std::shared_ptr<SlowTransport> transport() const {
    return std::dynamic_pointer_cast<SlowTransport>(device_.clientCmd());
  }
  void replace() {
    using std::chrono::milliseconds;
    device_.setClientCmd(slow_ ? std::make_shared<SlowTransport>(milliseconds(130), milliseconds(20))
                               : std::make_shared<SlowTransport>());
  }

  void takeRound() {
    std::array<std::vector<Kind>, kThreads> plans;
    // A handle is rarely closed, but then for good.
    std::discrete_distribution<int> kinds{6, 4, 0.15, 4, 0.7, 1, 0.1};
    for (auto& plan : plans) {
      for (int i = 0; i < kOpsOfARound; ++i) {
        plan.push_back(static_cast<Kind>(kinds(random_)));
      }
    }
    transport()->refuse(random_() % 8 == 0);
    std::vector<std::thread> threads;
    for (std::size_t who = 0; who < kThreads; ++who) {
      threads.emplace_back([this, who, &plan = plans.at(who), on_fiber = random_() % 4 == 0] {
        for (const Kind kind : plan) {
          const auto act = [&] { take({kind}, who); };
          if (on_fiber && kind <= Kind::Disconnect) {
            makeLoop()->runBody(act);
          } else {
            act();
          }
        }
      });
    }
    for (auto& thread : threads) {
      thread.join();
    }
    const bool within = std::ranges::any_of(steps_, [](const Step& step) { return step.ended == step.ended.max(); });
    if (within) {
      take({Kind::Disconnect});  // comes after all that the owner has been asked for
    }
    check();
  }

  // Takes one step and notes it.
  void take(Step step, std::size_t who = kThreads) {
    watchdog_.at(who, kNames.at(static_cast<std::size_t>(step.kind)));
    const auto client = transport();
    step.begun = Clock::now();
    bool taken = true;
    switch (step.kind) {
      case Kind::Connect:
        try {
          device_.connect(std::string("192.0.2.1"), 7);
        } catch (const Failure& failure) {
          step.result = failure.what();
        }
        break;
      case Kind::Disconnect:
        device_.disconnect();
        break;
      case Kind::Close:
        device_.close();
        break;
      case Kind::Lose:
        client->breakDown();
        break;
      case Kind::Replace:
        replace();
        break;
      case Kind::DisconnectWithin:
      case Kind::CloseWithin: {
        const auto call = std::make_shared<std::function<void()>>(
            [this, closing = step.closes()] { closing ? device_.close() : device_.disconnect(); });
        client->callBack(call);
        client->wake();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        taken = !client->takeBack(call);
        break;
      }
    }
    if (step.kind <= Kind::Replace) {
      step.ended = Clock::now();
    }
    watchdog_.at(who, "idle");
    if (taken) {
      const std::lock_guard lock(mutex_);
      steps_.push_back(step);
      connected_ += step.kind == Kind::Connect && step.result.empty() ? 1 : 0;
    }
  }

  // What is the case when everybody has returned.
  void check() {
    const auto possible = reachable(models_, steps_);
    std::set<Model> fitting;
    const auto fits = [&] {
      const State state = device_.state();
      fitting.clear();
      std::ranges::copy_if(possible, std::inserter(fitting, fitting.end()),
                           [&](const Model& model) { return model.state == state; });
      return !fitting.empty() && !(state == State::Connected && transport()->lost());
    };
    ASSERT_TRUE(eventually(fits)) << "state " << static_cast<int>(device_.state()) << ", lost: " << transport()->lost()
                                  << ", before " << tell(models_) << ", possible " << tell(possible) << "; after\n"
                                  << story(steps_);
    const State state = device_.state();
    EXPECT_TRUE(eventually([&] { return device_.commandChannel().gate().locked() == (state != State::Connected); }));
    // What has been printed is the same story: who connects is told, who is disconnected too, and each loss once.
    const auto count = [&](const char* begins) {
      const auto lines = host_.lines();
      return std::ranges::count_if(lines, [&](const std::string& line) { return line.starts_with(begins); });
    };
    const auto settled = [&] {
      const auto open = state == State::Connected || state == State::Lost ? 1 : 0;
      return count("Connected to") == connected_ && count("Disconnected from") == connected_ - open &&
             host_.failures().size() == told_ && (told_ == losses_ || device_.closed());
    };
    ASSERT_TRUE(eventually(settled)) << count("Connected to") << " of " << connected_ << " connects and "
                                     << count("Disconnected from") << " ends told, " << host_.failures().size()
                                     << " of " << losses_ << " losses printed, " << told_ << " told, state "
                                     << static_cast<int>(state) << " after\n"
                                     << story(steps_);
    models_ = fitting;
    steps_.clear();
  }

  Watchdog watchdog_;
  RecordingHost host_;
  std::mt19937 random_;
  const bool slow_;
  std::atomic<std::size_t> losses_ = 0;
  std::atomic<std::size_t> told_ = 0;
  std::set<Model> models_{Model{}};
  std::mutex mutex_;  // guards the two that follow, while a round runs
  std::vector<Step> steps_;
  std::ptrdiff_t connected_ = 0;
  ETHDevice device_;
};

TEST(Connection, WhatManyDoAtOnceIsWhatOneAfterTheOtherCouldDo) {
  const char* const given = std::getenv("QVX_SEED");
  const unsigned first = given != nullptr ? static_cast<unsigned>(std::atoi(given)) : 1;
  for (unsigned seed = first; seed < first + 32 && !HasFailure(); ++seed) {
    SCOPED_TRACE("QVX_SEED=" + std::to_string(seed));
    Trial(seed).run();
  }
}

// Nobody waits longer for an owner that does not come back than is promised, and it harms nobody when it does.
TEST(Connection, AnOwnerThatDoesNotComeBackHoldsNobodyUp) {
  using std::chrono::milliseconds;
  constexpr auto kPromised = milliseconds(1500);
  const Watchdog watchdog("an owner that does not come back");
  const RecordingHost host;
  for (const bool closing : {true, false}) {
    auto device = std::make_unique<ETHDevice>(ProductId::FeroxA, true);
    device->setClientCmd(std::make_shared<SlowTransport>(milliseconds(3000), milliseconds(0)));
    device->connect(std::string("192.0.2.1"), 7);
    std::this_thread::sleep_for(kGlance);  // the owner begins to read
    std::vector<std::thread> others;
    for (int i = 0; i < 2; ++i) {
      others.emplace_back([&device] { device->waitLost(std::nullopt); });
    }
    auto begun = Clock::now();
    closing ? device->close() : device->disconnect();
    EXPECT_LT(Clock::now() - begun, kPromised);
    begun = Clock::now();
    EXPECT_EQ(failureOf([&] { device->connect(std::string("192.0.2.1"), 7); }), "NetworkConnectionError");
    EXPECT_LT(Clock::now() - begun, kPromised);
    begun = Clock::now();
    device->close();
    for (auto& other : others) {
      other.join();
    }
    device.reset();
    EXPECT_LT(Clock::now() - begun, 2 * kPromised);
  }
  EXPECT_TRUE(noDriverThreadIsLeft());
}

// A child has no owner to wait for, whatever the parent was doing; the parent goes on.
TEST(Connection, AChildForkedInTheMiddleOfItEndsAtOnce) {
  using std::chrono::milliseconds;
  const Watchdog watchdog("a fork");
  const RecordingHost host;
  for (int turn = 0; turn < 8; ++turn) {
    auto* const device = new ETHDevice(ProductId::FeroxA, true);
    device->setClientCmd(std::make_shared<SlowTransport>(milliseconds(200), milliseconds(0)));
    std::thread ending([&] {
      device->connect(std::string("192.0.2.1"), 7);
      std::this_thread::sleep_for(milliseconds(turn));
      turn % 2 == 0 ? device->close() : device->disconnect();
    });
    std::this_thread::sleep_for(milliseconds(20));
    const pid_t child = ::fork();
    if (child == 0) {
      ::alarm(15);
      const bool refused = !failureOf([&] { device->connect(std::string("192.0.2.1"), 7); }).empty();
      device->disconnect();
      device->close();
      delete device;
      ::_exit(refused ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "in turn " << turn;
    ending.join();
    delete device;
  }
}

}  // namespace
}  // namespace qvx::test
