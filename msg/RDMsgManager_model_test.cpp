// The dispatcher against a plain model of its algorithm: every registration in one array, each
// send walking all of it from the first record and testing every pair. A random program (fixed
// random start value, so a failure repeats) registers, removes and re-registers callbacks and
// objects of many pairs, also from inside sends, and sends nested messages; the deliveries, in
// order, and every answer must be the same in both worlds.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kwhost/embedded.h"
#include "msg/ModuleState.h"
#include "msg/RDMsgManager.h"

namespace {

using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;

constexpr int kFunctions = 4;
constexpr int kObjects = 6;
// The own filters of the object pool (0 = any).
constexpr uint32_t kObjType[kObjects] = {0, 3, 0, 8, 5, 6};
constexpr uint32_t kObjCode[kObjects] = {0, 0, 2, 2, 1, 4};

// Pairs (3..8, 1..6), clear of the dispatcher's own (1, 9) and (1, 10): 36 of them.
uint32_t RandomType(uint64_t h) {
  return 3 + static_cast<uint32_t>(h % 6);
}
uint32_t RandomCode(uint64_t h) {
  return 1 + static_cast<uint32_t>(h / 8 % 6);
}

uint64_t Mix(uint64_t x) {
  x += 0x9E3779B97F4A7C15ull;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
  return x ^ (x >> 31);
}

// What both worlds offer the program; a watcher acts on its own world through it.
class World {
 public:
  virtual ~World() = default;
  virtual void RegisterFn(int id, int fn, const Pairs& pairs) = 0;
  virtual void RegisterObj(int obj, const Pairs& pairs) = 0;
  virtual void RemoveFn(int fn) = 0;
  virtual void RemoveObj(int obj) = 0;
  virtual unsigned long Send(uint32_t type, uint32_t code) = 0;
  virtual int Count() = 0;

  std::vector<std::string> log;

  // A delivery to the watcher `tag` ("c<id>" or "o<index>"): logs it, maybe acts on the world,
  // answers. Everything follows from the tag, how often it was called and the message.
  unsigned long Deliver(const std::string& tag, uint32_t type, uint32_t code) {
    log.push_back(tag + "<-" + std::to_string(type) + "," + std::to_string(code));
    uint64_t h = Mix(std::hash<std::string>{}(tag) ^ (m_calls[tag]++ << 20) ^ (type << 8) ^ code);
    const int action = static_cast<int>(h % 16);
    h = Mix(h);
    if (action == 0) RegisterFn(m_nextId++, static_cast<int>(h % kFunctions), RandomPairs(h >> 8));
    if (action == 1) RegisterObj(static_cast<int>(h % kObjects), RandomPairs(h >> 8));
    if (action == 2) RemoveFn(static_cast<int>(h % kFunctions));
    if (action == 3) RemoveObj(static_cast<int>(h % kObjects));
    if (action == 4 && m_depth < 3) {
      ++m_depth;
      unsigned long a = Send(RandomType(h), RandomCode(h));
      log.push_back("nested=" + std::to_string(a));
      --m_depth;
    }
    // Mostly no answer; sometimes a value; now and then one with bit 31 that stops the send.
    static constexpr unsigned long kAnswers[16] = {
        0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 0x80000000ul, 0x80000001ul};
    return kAnswers[Mix(h) % 16];
  }

  static Pairs RandomPairs(uint64_t h) {
    Pairs pairs;
    for (int k = static_cast<int>(h % 4); k-- > 0;) {
      h = Mix(h);
      pairs.emplace_back(RandomType(h), RandomCode(h));
    }
    return pairs;
  }

  int m_nextId = 100000;

 private:
  std::map<std::string, uint64_t> m_calls;
  int m_depth = 0;
};

// ---------------------------------------------------------------- the model

class Model final : public World {
 public:
  Model() { m_recs.push_back({-1, -2, -1, {{1, 9}}, false}); }  // "ShowMsg"

  void RegisterFn(int id, int fn, const Pairs& pairs) override {
    m_recs.push_back({id, fn, -1, pairs, false});
  }
  void RegisterObj(int obj, const Pairs& pairs) override {
    for (const Rec& r : m_recs) {
      if (!r.dead && r.obj == obj) return;
    }
    m_recs.push_back({-1, -1, obj, pairs, false});
  }
  void RemoveFn(int fn) override {
    for (size_t i = m_recs.size(); i-- > 0;) {
      if (!m_recs[i].dead && m_recs[i].fn == fn) Kill(i);
    }
  }
  void RemoveObj(int obj) override {
    for (size_t i = m_recs.size(); i-- > 0;) {
      if (!m_recs[i].dead && m_recs[i].obj == obj) {
        Kill(i);
        return;
      }
    }
  }
  unsigned long Send(uint32_t type, uint32_t code) override {
    ++m_depth;
    unsigned long result = 0;
    for (size_t i = 0; i < m_recs.size(); ++i) {
      const Rec r = m_recs[i];  // the array may grow while the watcher runs
      if (r.dead || !Accepts(r, type, code)) continue;
      const std::string tag = r.obj >= 0 ? "o" + std::to_string(r.obj) : "c" + std::to_string(r.id);
      unsigned long answer = Deliver(tag, type, code);
      if (answer != 0) result = answer;
      if (result > 0x7FFFFFFF) break;
    }
    if (--m_depth == 0) {
      std::erase_if(m_recs, [](const Rec& r) { return r.dead; });
    }
    return result;
  }
  int Count() override { return static_cast<int>(m_recs.size()); }

 private:
  struct Rec {
    int id, fn, obj;
    Pairs pairs;
    bool dead;
  };
  static bool Accepts(const Rec& r, uint32_t type, uint32_t code) {
    for (size_t k = r.pairs.size(); k-- > 0;) {
      if (r.pairs[k] == std::make_pair(type, code)) return true;
    }
    if (r.obj < 0 || !r.pairs.empty()) return false;
    return (kObjType[r.obj] == 0 || kObjType[r.obj] == type) &&
           (kObjCode[r.obj] == 0 || kObjCode[r.obj] == code);
  }
  void Kill(size_t i) {
    if (m_depth > 0) {
      m_recs[i].dead = true;
    } else {
      m_recs.erase(m_recs.begin() + static_cast<ptrdiff_t>(i));
    }
  }

  std::vector<Rec> m_recs;
  int m_depth = 0;
};

// ---------------------------------------------------------------- the dispatcher

class Real;

struct Ctx {
  Real* world;
  int id;
};

class PoolWatch final : public CMsgWatch {
 public:
  uint32_t GetType() override { return kObjType[index]; }
  uint32_t GetMsg() override { return kObjCode[index]; }
  unsigned long OnMessage(KWMSGHDR* msg) override;
  Real* world = nullptr;
  int index = 0;
};

class Real final : public World {
 public:
  Real() {
    CRDMsgManager::Destroy();
    m_mgr = CRDMsgManager::GetInstance();
    for (int i = 0; i < kObjects; ++i) {
      m_pool[i].world = this;
      m_pool[i].index = i;
    }
  }
  ~Real() override { CRDMsgManager::Destroy(); }

  void RegisterFn(int id, int fn, const Pairs& pairs) override {
    m_ctx.push_back({this, id});
    std::vector<unsigned> types, codes;
    for (const auto& [t, c] : pairs) {
      types.push_back(t);
      codes.push_back(c);
    }
    m_mgr->RegisterEx(L"F", types.data(), codes.data(), static_cast<int>(pairs.size()), kFns[fn],
                      &m_ctx.back());
  }
  void RegisterObj(int obj, const Pairs& pairs) override {
    if (pairs.empty()) {
      m_mgr->Register(L"O", &m_pool[obj], false);
      return;
    }
    std::vector<unsigned> types, codes;
    for (const auto& [t, c] : pairs) {
      types.push_back(t);
      codes.push_back(c);
    }
    m_mgr->RegisterEx(L"O", types.data(), codes.data(), static_cast<int>(pairs.size()),
                      &m_pool[obj], false);
  }
  void RemoveFn(int fn) override { m_mgr->RemoveRegister(kFns[fn]); }
  void RemoveObj(int obj) override { m_mgr->RemoveRegister(&m_pool[obj]); }
  unsigned long Send(uint32_t type, uint32_t code) override {
    KWMSGHDR msg{type, code, 0};
    return m_mgr->SendMessageW(&msg);
  }
  int Count() override { return m_mgr->WatcherCount(); }

 private:
  template <int K>
  static unsigned long Fn(KWMSGHDR* msg, void* user) {
    const Ctx* ctx = static_cast<const Ctx*>(user);
    return ctx->world->Deliver("c" + std::to_string(ctx->id), msg->type, msg->msg);
  }
  static constexpr CRDMsgManager::MsgFn kFns[kFunctions] = {&Fn<0>, &Fn<1>, &Fn<2>, &Fn<3>};

  CRDMsgManager* m_mgr = nullptr;
  std::deque<Ctx> m_ctx;  // stable addresses for the user pointers
  PoolWatch m_pool[kObjects];
};

unsigned long PoolWatch::OnMessage(KWMSGHDR* msg) {
  return world->Deliver("o" + std::to_string(index), msg->type, msg->msg);
}

// One step of the top-level program, drawn from `random`, run on `world`.
void Step(World& world, std::mt19937_64& random, int& nextId) {
  const uint64_t h = random();
  switch (h % 8) {
    case 0:
    case 1:
      world.RegisterFn(nextId++, static_cast<int>(h / 8 % kFunctions), World::RandomPairs(h >> 16));
      break;
    case 2:
      world.RegisterObj(static_cast<int>(h / 8 % kObjects), World::RandomPairs(h >> 16));
      break;
    case 3:
      if (h / 8 % 3 == 0) world.RemoveFn(static_cast<int>(h / 64 % kFunctions));
      break;
    case 4:
      if (h / 8 % 2 == 0) world.RemoveObj(static_cast<int>(h / 64 % kObjects));
      break;
    default: {
      const uint32_t type = RandomType(h / 8);
      const uint32_t code = RandomCode(h / 8);
      world.log.push_back("send " + std::to_string(type) + "," + std::to_string(code) + "=" +
                          std::to_string(world.Send(type, code)));
      world.log.push_back("count=" + std::to_string(world.Count()));
    }
  }
}

TEST(RDMsgManagerModel, RandomRegistrationsRemovalsAndNestedSendsMatchThePlainAlgorithm) {
  kwhost::ResetSession();
  KWRDPub::GetModuleState() = KWRDPub::ModuleState{};
  KWRDPub::GetModuleState().SetSendLog(0);
  constexpr uint64_t kRandomStart = 20261123;  // fixed, so that a failure repeats
  constexpr int kSteps = 20000;
  Model model;
  std::mt19937_64 modelRandom(kRandomStart);
  int modelIds = 0;
  for (int s = 0; s < kSteps; ++s) Step(model, modelRandom, modelIds);

  Real real;
  std::mt19937_64 realRandom(kRandomStart);
  int realIds = 0;
  for (int s = 0; s < kSteps; ++s) Step(real, realRandom, realIds);

  ASSERT_EQ(real.log.size(), model.log.size());
  size_t deliveries = 0;
  int mostLive = 0;
  for (size_t i = 0; i < model.log.size(); ++i) {
    ASSERT_EQ(real.log[i], model.log[i]) << "entry " << i;
    deliveries += model.log[i].find("<-") != std::string::npos;
    if (model.log[i].rfind("count=", 0) == 0)
      mostLive = std::max(mostLive, std::stoi(model.log[i].substr(6)));
  }
  // The program is busy enough to prove something: many deliveries, many watchers live at once.
  EXPECT_GT(deliveries, 5000u);
  EXPECT_GT(mostLive, 30);
  KWRDPub::GetModuleState().SetSendLog(1);
}

}  // namespace
