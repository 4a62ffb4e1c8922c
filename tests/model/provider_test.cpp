#include "model/provider.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace quillon {
namespace {

TEST(Provider, RawValuesAreLowerCaseNames) {
    EXPECT_EQ(rawValue(Provider::claude), "claude");
    EXPECT_EQ(rawValue(Provider::codex), "codex");
}

TEST(Provider, IdIsTheRawValue) {
    EXPECT_EQ(id(Provider::claude), "claude");
    EXPECT_EQ(id(Provider::codex), "codex");
}

TEST(Provider, ConstructionFromCapitalisedRawValueYieldsNothing) {
    EXPECT_EQ(providerFromRawValue("Claude"), std::nullopt);
    EXPECT_EQ(providerFromRawValue("CODEX"), std::nullopt);
    EXPECT_EQ(providerFromRawValue(""), std::nullopt);
    EXPECT_EQ(providerFromRawValue("claude "), std::nullopt);
}

TEST(Provider, ConstructionFromExactRawValueYieldsTheCase) {
    EXPECT_EQ(providerFromRawValue("claude"), Provider::claude);
    EXPECT_EQ(providerFromRawValue("codex"), Provider::codex);
}

TEST(Provider, EqualityAndHashingAreByCase) {
    const std::unordered_set<Provider> set{Provider::claude, Provider::claude, Provider::codex};
    EXPECT_EQ(set.size(), 2U);
    EXPECT_NE(Provider::claude, Provider::codex);
}

} // namespace
} // namespace quillon
