#include "Kel/Toggle.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace {

class Toggle : public ::testing::Test {
 protected:
   void SetUp() override {
      dir_ = std::filesystem::temp_directory_path() /
             ( "toggle_test_" + std::to_string( ::getpid() ) );
      std::filesystem::create_directories( dir_ );
      ::setenv( "OV_TOGGLE_DIR", dir_.c_str(), 1 );
   }
   void TearDown() override {
      ::unsetenv( "OV_TOGGLE_DIR" );
      std::filesystem::remove_all( dir_ );
   }
   void write( const std::string& file, const std::string& text ) {
      std::ofstream( dir_ / file ) << text;
   }
   // The toggle "Mvpn" read with each default; both agree unless the file
   // leaves it at the default.
   std::string mvpn( const std::string& text ) {
      write( "t.json", text );
      bool a = Kel::getToggleState( "Mvpn", "t.json", false );
      bool b = Kel::getToggleState( "Mvpn", "t.json", true );
      return a != b ? "default" : a ? "true" : "false";
   }
   std::filesystem::path dir_;
};

TEST_F( Toggle, ReadsBooleansAmongOtherMembers ) {
   EXPECT_EQ( "false", mvpn( R"({"Mvpn": false})" ) );
   EXPECT_EQ( "true", mvpn( " \n{\t\"Mvpn\"\r\n:\ntrue } \n" ) );
   EXPECT_EQ( "true", mvpn( R"({"a": {"Mvpn": false, "x": [1, -2.5e3, "}", null, {}]},
                                "s": "say \"Mvpn\": false, \\", "Mvpn": true, "z": []})" ) );
   EXPECT_EQ( "false", mvpn( R"({"Mvpn": true, "Mvpn": false})" ) ); // last wins
   EXPECT_EQ( "true", mvpn( R"({"M\u0076pn": true})" ) );            // escaped key
   EXPECT_EQ( "false", mvpn( R"({"Mvpn":false,"\ud83d\ude00":0})" ) );
}

TEST_F( Toggle, AnythingElseGivesTheDefault ) {
   EXPECT_EQ( "default", mvpn( R"({"Other": true})" ) );
   EXPECT_EQ( "default", mvpn( R"({"mvpn": true})" ) );    // keys are case-sensitive
   EXPECT_EQ( "default", mvpn( R"({"Mvpn": "false"})" ) ); // not a boolean
   EXPECT_EQ( "default", mvpn( R"({"Mvpn": null})" ) );
   EXPECT_EQ( "default", mvpn( R"({"a": {"Mvpn": true}})" ) ); // not at the top level
   EXPECT_EQ( "default", mvpn( R"({"Mvpn": true,})" ) );       // malformed, however close
   EXPECT_EQ( "default", mvpn( R"({"Mvpn": true)" ) );
   EXPECT_EQ( "default", mvpn( R"({"Mvpn": True})" ) );
   EXPECT_EQ( "default", mvpn( R"({"Mvpn": true} x)" ) );
   EXPECT_EQ( "default", mvpn( R"({"Mvpn": true, "n": 01})" ) );
   EXPECT_EQ( "default", mvpn( R"({"Mvpn": true, "s": "\x"})" ) );
   EXPECT_EQ( "default", mvpn( R"([{"Mvpn": true}])" ) );
   EXPECT_EQ( "default", mvpn( "" ) );
   EXPECT_EQ( "default", mvpn( R"({"Mvpn": true, "deep": )" + std::string( 70, '[' ) +
                               std::string( 70, ']' ) + "}" ) );
   EXPECT_EQ( "true", mvpn( R"({"Mvpn": true, "deep": )" + std::string( 60, '[' ) +
                            std::string( 60, ']' ) + "}" ) );
   EXPECT_TRUE( Kel::getToggleState( "Mvpn", "absent.json", true ) );
   EXPECT_FALSE( Kel::getToggleState( "Mvpn", "absent.json", false ) );
   write( "t.json", R"({"Mvpn": false})" );
   ::unsetenv( "OV_TOGGLE_DIR" );
   EXPECT_TRUE( Kel::getToggleState( "Mvpn", "t.json", true ) );
   ::setenv( "OV_TOGGLE_DIR", ( dir_ / "missing" ).c_str(), 1 );
   EXPECT_TRUE( Kel::getToggleState( "Mvpn", "t.json", true ) );
}

} // namespace
