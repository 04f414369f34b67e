#include "msg/internal/SendChain.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using KWRDPub::SendChain;

std::wstring Text(SendChain& chain) {
  return chain.Text();
}

TEST(SendChain, NestedSendsAppendTheirNumbersAndCutBackWhenTheyEnd) {
  SendChain chain;
  chain.Revive();
  const SendChain::Link one = chain.Extend(chain.NextNumber());
  EXPECT_EQ(Text(chain), L",1,");
  const SendChain::Link two = chain.Extend(chain.NextNumber());
  const SendChain::Link three = chain.Extend(chain.NextNumber());
  EXPECT_EQ(Text(chain), L",1,2,3,");
  chain.Restore(three);
  EXPECT_EQ(Text(chain), L",1,2,");
  chain.Restore(two);
  EXPECT_EQ(Text(chain), L",1,");
  const SendChain::Link four = chain.Extend(chain.NextNumber());  // a second inner send
  EXPECT_EQ(Text(chain), L",1,4,");
  chain.Restore(four);
  chain.Restore(one);
  EXPECT_EQ(Text(chain), L"");
  EXPECT_EQ(chain.NextNumber(), 1u);  // the outermost send ended: numbering starts again
}

TEST(SendChain, PastEightyFiveCharactersDotsFollowUntilTheBufferIsFull) {
  SendChain chain;
  chain.Revive();
  std::vector<SendChain::Link> links;
  std::wstring want = L",";
  for (uint32_t n = 1; n <= 31; ++n) {
    links.push_back(chain.Extend(chain.NextNumber()));
    want += std::to_wstring(n) + L",";
  }
  ASSERT_EQ(chain.Length(), 85u);
  EXPECT_EQ(Text(chain), want);
  for (int i = 0; i < 10; ++i) links.push_back(chain.Extend(chain.NextNumber()));
  want += L"............";  // four "..." fit below the 100-character buffer
  EXPECT_EQ(Text(chain), want);
  EXPECT_EQ(chain.Length(), 97u);
  // The dotted sends end without finding their numbers: the chain stays until send 31 ends.
  for (size_t i = links.size(); i-- > 31;) chain.Restore(links[i]);
  EXPECT_EQ(Text(chain), want);
  chain.Restore(links[30]);
  EXPECT_EQ(chain.Length(), 82u);
  for (size_t i = 30; i-- > 0;) chain.Restore(links[i]);
  EXPECT_EQ(Text(chain), L"");
  EXPECT_EQ(chain.NextNumber(), 1u);
}

TEST(SendChain, TheQuitMessageDropsTheChainAndTheNextOutermostSendRestartsIt) {
  SendChain chain;
  chain.Revive();
  EXPECT_TRUE(chain.Live());
  const SendChain::Link one = chain.Extend(chain.NextNumber());
  chain.Drop();  // quit message sent from inside send 1
  EXPECT_FALSE(chain.Live());
  EXPECT_EQ(Text(chain), L"");
  // Still inside send 1: a later send starts a chain of its own, numbered on from 2.
  chain.Revive();
  const uint32_t n = chain.NextNumber();
  EXPECT_EQ(n, 2u);
  const SendChain::Link two = chain.Extend(n);
  EXPECT_EQ(Text(chain), L",2,");
  const SendChain::Link three = chain.Extend(chain.NextNumber());
  EXPECT_EQ(Text(chain), L",2,3,");
  chain.Restore(three);
  chain.Restore(two);  // the outermost of the new chain: empty, numbering restarts
  EXPECT_EQ(Text(chain), L"");
  chain.Restore(one);  // its number went with the quit message: nothing to cut
  EXPECT_EQ(Text(chain), L"");
  EXPECT_EQ(chain.NextNumber(), 1u);
}

TEST(SendChain, MultiDigitNumbersAreFoundWhereverTheyStand) {
  SendChain chain;
  chain.Revive();
  for (int i = 0; i < 9; ++i) chain.NextNumber();
  const SendChain::Link ten = chain.Extend(chain.NextNumber());
  const SendChain::Link eleven = chain.Extend(chain.NextNumber());
  EXPECT_EQ(Text(chain), L",10,11,");
  chain.Restore(eleven);
  EXPECT_EQ(Text(chain), L",10,");
  chain.Restore(ten);
  EXPECT_EQ(Text(chain), L"");
}

}  // namespace
