#include "services/vsftpd_guests.h"

#include <gtest/gtest.h>

#include "platform/services/proc_tree.h"

namespace zevo::connections {
namespace {

VsftpdGuests guestsOf(std::string_view text) {
  VsftpdGuests guests;
  takeSettings(text, guests);
  return guests;
}

TEST(VsftpdGuestsTest, WithoutSettingsEveryAccountIsItself) {
  EXPECT_EQ("", guestOf(VsftpdGuests(), "ftp"));
}

TEST(VsftpdGuestsTest, TheGuestAccountServesVirtualUsers) {
  const VsftpdGuests guests =
      guestsOf("# guest_enable=NO\nguest_enable=yes\nguest_username=virtual");
  EXPECT_EQ("virtual user", guestOf(guests, "virtual"));
  EXPECT_EQ("", guestOf(guests, "alice"));
}

TEST(VsftpdGuestsTest, TheUsualGuestAccountServesAnonymousUsersToo) {
  EXPECT_EQ("virtual or anonymous user", guestOf(guestsOf("guest_enable=1"), "ftp"));
  EXPECT_EQ("virtual user",
            guestOf(guestsOf("anonymous_enable=NO\nguest_enable=TRUE \r\n"), "ftp"));
}

TEST(VsftpdGuestsTest, TheLastSettingHolds) {
  EXPECT_EQ("", guestOf(guestsOf("guest_enable=YES\nguest_enable=NO\n"), "ftp"));
}

TEST(VsftpdGuestsTest, HelpersHaveAnAccountOfTheirOwn) {
  EXPECT_EQ("nobody", guestsOf("").helper);
  EXPECT_EQ("ftphelp", guestsOf("nopriv_user=ftphelp\n").helper);
}

class VsftpdArgumentsTest : public ::testing::Test {
 protected:
  test::ProcTree tree_;
  const std::string standard_ = tree_.file("vsftpd.conf", "guest_enable=YES\nguest_username=a\n");
  const std::string other_ = tree_.file("other.conf", "guest_enable=YES\nguest_username=b\n");
};

TEST_F(VsftpdArgumentsTest, WithoutAFileTheStandardOneHolds) {
  EXPECT_EQ("a", readGuests("/usr/sbin/vsftpd", standard_).account);
}

TEST_F(VsftpdArgumentsTest, ANamedFileTakesThePlaceOfTheStandardOne) {
  EXPECT_EQ("b", readGuests("vsftpd " + other_, standard_).account);
}

TEST_F(VsftpdArgumentsTest, OptionsComeAfterTheFiles) {
  EXPECT_EQ("c", readGuests("vsftpd -oguest_username=c " + other_, standard_).account);
}

TEST_F(VsftpdArgumentsTest, AFileThatIsNotThereSaysNothing) {
  EXPECT_FALSE(readGuests("vsftpd /nowhere/vsftpd.conf", standard_).areServed);
}

}  // namespace
}  // namespace zevo::connections
