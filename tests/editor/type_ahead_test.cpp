#include "editor/type_ahead.h"

#include <gtest/gtest.h>
#include <limits>

namespace brindlemux {
namespace {

/// A menu whose entries have these labels; one that begins with a hyphen cannot be chosen.
struct Menu {
  explicit Menu(const QStringList& labels) {
    QList<KeyedListModel::Row> rows;
    for (const QString& label : labels)
      rows.append({label, label, label.startsWith('-') ? QString() : QStringLiteral("app")});
    entries.assign(rows);
    typeAhead.setEntries(&entries);
    // However slow the machine is, no letter comes too late.
    typeAhead.setProperty("patience", std::numeric_limits<int>::max());
  }
  /// Where the current row is after these letters, from a row on.
  int type(const QString& letters, int current = -1) {
    for (const QChar letter : letters) {
      const int found = typeAhead.type(current, letter);
      if (found >= 0) current = found;
    }
    return current;
  }

  KeyedListModel entries{{"key", "label", "kind"}};
  TypeAhead typeAhead;
};

TEST(TypeAhead, lettersTogetherAreOneBeginning) {
  Menu menu({"Mixer", "Music", "Player", "Mumble"});
  EXPECT_EQ(menu.type("mum"), 3);
  menu.typeAhead.forget();
  EXPECT_EQ(menu.type("mu", 2), 3);
  menu.typeAhead.forget();
  EXPECT_EQ(menu.type("mu", 3), 1);
}

TEST(TypeAhead, laterLetterBeginsAnew) {
  Menu menu({"Mixer", "Ilo", "Music"});
  menu.typeAhead.setProperty("patience", 0);
  EXPECT_EQ(menu.type("mi"), 1);
  EXPECT_FALSE(menu.typeAhead.isTyping());
}

TEST(TypeAhead, sameLetterStepsThroughWhatBeginsWithIt) {
  Menu menu({"Mixer", "Player", "Music", "Mumble"});
  EXPECT_EQ(menu.type("m"), 0);
  EXPECT_EQ(menu.type("m", 0), 2);
  EXPECT_EQ(menu.type("m", 2), 3);
  EXPECT_EQ(menu.type("m", 3), 0);
}

TEST(TypeAhead, doubledLetterOfALabelIsFoundFirst) {
  Menu menu({"Album", "Aardvark", "Amp"});
  EXPECT_EQ(menu.type("aa"), 1);
}

TEST(TypeAhead, neitherCaseNorAccentsCount) {
  Menu menu({"Player", "Écran", "straße"});
  EXPECT_EQ(menu.type("ec"), 1);
  menu.typeAhead.forget();
  EXPECT_EQ(menu.type("STRASS"), 2);
}

TEST(TypeAhead, spaceGoesOnWithABeginning) {
  Menu menu({"Desk", "Desk Microphone", "Deskman"});
  EXPECT_EQ(menu.type("desk m"), 1);
}

TEST(TypeAhead, passesOverWhatCannotBeChosen) {
  Menu menu({"-No applications", "Nothing"});
  EXPECT_EQ(menu.type("-"), -1);
  menu.typeAhead.forget();
  EXPECT_EQ(menu.type("n"), 1);
}

TEST(TypeAhead, whatFitsNothingLeadsNowhere) {
  Menu menu({"Mixer", "Player"});
  EXPECT_EQ(menu.type("x", 1), 1);
  menu.typeAhead.forget();
  EXPECT_EQ(menu.typeAhead.type(1, ""), -1);
  EXPECT_EQ(menu.typeAhead.type(1, "\x1b"), -1);
  EXPECT_FALSE(menu.typeAhead.isTyping());
  EXPECT_EQ(Menu({}).type("m"), -1);
}

TEST(TypeAhead, keysWithoutLettersAreNotTyped) {
  EXPECT_TRUE(TypeAhead::isTyped("m"));
  EXPECT_TRUE(TypeAhead::isTyped(" "));
  for (const char* text : {"", "\x1b", "\t", "\r", "\b", "\x7f"}) EXPECT_FALSE(TypeAhead::isTyped(text));
}

TEST(TypeAhead, currentRowThatIsNoMoreDoesNoHarm) {
  Menu menu({"Mixer", "Player"});
  EXPECT_EQ(menu.type("m", 9), 0);
  EXPECT_EQ(TypeAhead().type(0, "m"), -1);
}

}  // namespace
}  // namespace brindlemux
