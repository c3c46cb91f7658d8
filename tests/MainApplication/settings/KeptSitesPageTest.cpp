// What a person types into the list of kept sites.

#include <gtest/gtest.h>

#include "MainApplication/settings/KeptSitesPage.h"

namespace {

using tidewell::typedSite;

TEST(TypedSite, isASite) {
  EXPECT_EQ(typedSite("mail.example"), "mail.example");
  EXPECT_EQ(typedSite("  Mail.Example "), "mail.example");
  EXPECT_EQ(typedSite("=forum.example"), "=forum.example");
}

TEST(TypedSite, isTheSiteOfAnAddress) {
  EXPECT_EQ(typedSite("https://mail.example/inbox?unread"), "mail.example");
  EXPECT_EQ(typedSite("mail.example:8443/inbox"), "mail.example");
}

TEST(TypedSite, isNoneOfWhatCannotBeKept) {
  EXPECT_EQ(typedSite(""), std::nullopt);
  EXPECT_EQ(typedSite("   "), std::nullopt);
  EXPECT_EQ(typedSite("co.uk"), std::nullopt);
  EXPECT_EQ(typedSite("two words"), std::nullopt);
  EXPECT_EQ(typedSite("file:///etc/passwd"), std::nullopt);
}

}  // namespace
