#include "shell/template.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// The compiler reads templates with these functions, and a `throw` in them ends its work. Here they run, so
// that each refusal can be looked at; breach/ tries that the compiler does refuse.

namespace {

using shell::Place;
using shell::Role;
using shell::Slot;
using shell::ValueKind;

std::string refusal(const std::string& text) {
  try {
    shell::TemplateReader(text).read();
  } catch (const char* reason) {
    return reason;
  }
  return "";
}

std::string refusal(const std::string& text, std::initializer_list<ValueKind> kinds) {
  try {
    shell::slots_for(text, kinds);
  } catch (const char* reason) {
    return reason;
  }
  return "";
}

// ---- What is refused --------------------------------------------------------------------------------

struct Refused {
  const char* reason;
  std::vector<std::string> templates;
};

void expect_refusals(const std::vector<Refused>& refusals) {
  for (const auto& [reason, templates] : refusals)
    for (const std::string& text : templates) EXPECT_EQ(reason, refusal(text)) << text;
}

TEST(TemplateReader, RefusesWhatIsNoPlainText) {
  expect_refusals(
      {{"a lone percent sign", {"rm %", "rm '100%"}},
       {"only %s, %d and %% are known", {"rm %x", "rm %5s", "rm %-s"}},
       {"unbalanced quotes", {"rm \"%s", "rm '%s", "rm 'a\"", "rm \"a'"}},
       {"expansions belong into single quotes",
        {"rm $%s", "rm $HOME/%s", "rm \"$%s\"", "rm `%s`", "rm \"`%s`\"", "rm $(cat %s)", "rm ${%s}",
         "rm $'%s'"}},
       {"a backslash before nothing", {"rm a\\"}},
       {"a backslash before a value or a line end", {"rm \\%s", "rm \"\\%s\"", "rm \\\n%s"}},
       {"a backslash that stays in double quotes", {"rm \"a\\n\"", "rm \"\\ %s\""}},
       {"a backslash behind what may be half a character",
        {"rm \"%s\\\"\"", "rm \xA4\\ %s", "rm \"\xA4\\\"\""}},
       {"a NUL byte in a template", {std::string("rm a\0%s", 7), std::string("rm '\0'", 6)}},
       {"a comment", {"rm # %s", "rm x#%s", "# rm", "rm %s#"}},
       {"parentheses outside quotes", {"(rm %s)", "rm <(cat %s)", "f() rm", "a b) rm", "rm @(%s|x)"}},
       {"braces outside quotes", {"{ rm %s; }", "rm {%s,x}", "find %s -exec rm {} \\;"}},
       {"brackets outside quotes", {"rm [%s]*", "rm a[\"%s\"]", "[ -f %s ]", "[[ %s ]]", "rm x]"}},
       {"a line end outside quotes", {"rm a\nrm %s", "cat <a\n%s\n"}},
       {"an exclamation mark outside quotes", {"! rm %s", "find ! -name %s"}},
       {"a character that templates do not know", {"rm ^%s", "rm \r%s", "rm \x7f", "rm \x01%s"}}});
}

TEST(TemplateReader, RefusesAValueBesideATilde) {
  expect_refusals({{"a ~ inside a word", {"rm a~", "rm %s~", "rm \"%s\"~/x", "rm a=~/%s", "rm ''~", "rm ~~"}},
                   {"a value in a template with a ~",
                    {"rm ~%s", "rm ~/%s", "rm ~ann/%s", "rm ~\"%s\"", "cp %s ~", "cp ~/a %s", "rm ~ > %s"}}});
}

TEST(TemplateReader, RefusesRedirectionsThatAValueCouldChange) {
  expect_refusals(
      {{"a word directly before a redirection",
        {"cat %s>f", "cat \"%s\">f", "cat %d>f", "cat 1%s>f", "cat %s1>f", "cat a>f", "cat \"2\">f",
         "cat 10>f", "cat %s<f", "cat \\2>f", "2%s>f cat", "%d<f"}},
       {"only <, > and >> are known",
        {"cat <<%s", "cat <<%s\n", "cat <<-%s", "cat <<<%s", "cat >&%s", "cat >& %s", "cat 2>&%s", "cat 2>&1",
         "cat <&%s", "cat >|%s", "cat <>%s", "cat &>%s", "cat &>>%s", "cat >>>%s", "cat >>&%s", "cat ><%s"}},
       {"a redirection without a file name",
        {"cat >", "cat > ; rm %s", "cat > | rm", "cat < > %s", "cat > 2> %s", "cat > && rm"}},
       {"a glob in the file name of a redirection", {"cat > %s*", "cat > *", "cat > %s/?", "cat < \"%s\"/*"}},
       {"a file name has one value, at its beginning",
        {"cat > /tmp/%s", "cat > %s%s", "cat > %s/%s", "cat > \"x%s\"", "cat > ./%s"}}});
}

TEST(TemplateReader, RefusesWhatIsNoListOfSimpleCommands) {
  expect_refusals(
      {{"a command is missing",
        {"", " ", "; rm", "rm ;; rm", "rm | | cat", "rm |", "rm && ", "| rm", "& rm", "rm |& cat",
         "rm ;& cat", "rm &&& cat", "rm ||"}},
       {"a value may not name the command",
        {"%s", "\"%s\" a", "%s/bin/x", "x%s a", "rm a; %s", "rm a | %s", "rm a & %s", "rm a && %s", "> f %s",
         "2>f %s a", ">f rm a; >f %s", "%d", "A=%s rm"}},
       {"an assignment before a command", {"A=b %s", "A=b rm %s", "PATH=x", "rm a; A+=b rm"}},
       {"a command's name stands without quotes",
        {"\"rm\" %s", "'rm' %s", "r\"m\" %s", "\\rm %s", "\"\" %s"}},
       {"a command's name is plain text", {"r* %s", "rm? %s", "~/rm", "@a %s", "a:b", "%%1", "\xC5 %s"}},
       {"a reserved word",
        {"if true", "then rm %s", "else rm %s", "elif rm %s", "fi > %s", "do rm %s", "done < %s",
         "case %s in", "esac", "in %s", "while rm %s", "until rm %s", "for x in %s", "select x in %s",
         "function rm %s", "time rm %s", "coproc rm %s", "rm a; if rm %s", "rm | time rm %s"}}});
}

TEST(TemplateReader, RefusesAValueThatAProgramMightRun) {
  expect_refusals(
      {{"a value beside a program that has no row",
        {"sh -c \"%s\"",   "sh -c '%s'",  "sh %s",      "bash -c %s",     "awk '{print %s}'", "awk '%s' f",
         "sed 's/%s//'",   "eval %s",     "exec %s",    "env %s",         "xargs %s",         "sudo rm %s",
         "command rm %s",  "nohup rm %s", "test -f %s", ". %s",           "source %s",        "trap %s 0",
         "python -c '%s'", "export A=%s", "/bin/rm %s", "rm a | sh -c %s"}},
       {"a value beside an option that its program's row does not have",
        {"perl -e '%s'", "perl -e '1' %s", "perl -ne%s", "perl \"-e%s\"", "find %s -exec rm",
         "find -exec '%s'", "tar -I %s", "tar -xf %s --to-command=x", "tar --to-command=%s", "rm --%s",
         "rm -%s", "rm -r%s", "cp -a -t %s", "mkdir '-m' %s", "mkdir \\-m %s", "cp \"-a -f\" %s"}},
       {"a value beside more words than its program's row has",
        {"su - %s %s", "su - ann %s", "su - %s script -c\"%s\"", "su %s -c\"%s\" x"}},
       {"a command for a shell stands in double quotes",
        {"su - ann -c%s", "su - ann '-c%s'", "su - ann -c'%s'"}},
       {"a value before a dash: an empty one would leave an option",
        {"rm %s-rf", "rm \"%s\"-rf", "rm %s%s-f x", "rm \"%s-rf\""}}});
}

TEST(TemplateKinds, AreThoseThatTheirPlacesTake) {
  const char* const number = "%d takes an integer, %s a text";
  EXPECT_EQ(number, refusal("rm %d", {ValueKind::text}));
  EXPECT_EQ(number, refusal("rm %d", {ValueKind::quoted_word}));
  EXPECT_EQ(number, refusal("rm %s", {ValueKind::number}));
  EXPECT_EQ(number, refusal("su - a -c\"%d\"", {ValueKind::command}));
  const char* const file = "a file name is a text";
  EXPECT_EQ(file, refusal("cat > %s", {ValueKind::quoted_word}));
  EXPECT_EQ(file, refusal("cat > %s", {ValueKind::command}));
  EXPECT_EQ(file, refusal("cat > %d", {ValueKind::number}));
}

TEST(TemplateKinds, OfAWordWithItsOwnQuotesIsBareAndAlone) {
  const char* const reason = "a word with its own quotes stands bare and alone";
  for (const char* text : {"rm \"%s\"", "rm '%s'", "rm x%s", "rm %sx", "rm \"x\"%s", "rm %s/x", "rm %s''x"})
    EXPECT_EQ(reason, refusal(text, {ValueKind::quoted_word})) << text;
  EXPECT_EQ(reason, refusal("mkdir %s%s", {ValueKind::quoted_word, ValueKind::text}));
  EXPECT_EQ("", refusal("rm %s", {ValueKind::quoted_word}));
}

TEST(TemplateKinds, OfACommandIsWhereAShellReadsOne) {
  const char* const no_shell = "a command where no shell reads it";
  for (const char* text : {"rm %s", "rm \"%s\"", "lpadmin -p '%s'", "rm -f\"%s\"", "su \"%s\""})
    EXPECT_NE("", refusal(text, {ValueKind::command})) << text;
  EXPECT_EQ(no_shell, refusal("rm \"%s\"", {ValueKind::command}));
  EXPECT_EQ(no_shell, refusal("su - \"%s\"", {ValueKind::command}));
  EXPECT_EQ("", refusal("su - ann -c\"%s\"", {ValueKind::command}));
}

TEST(TemplateKinds, OfWhatAShellReadsIsACommand) {
  const char* const reason = "only a whole command may be given to a shell";
  EXPECT_EQ(reason, refusal("su - ann -c\"%s\"", {ValueKind::text}));
  EXPECT_EQ(reason, refusal("su - ann -c\"%s\"", {ValueKind::quoted_word}));
  // A part of one is none.
  EXPECT_EQ("a value beside an option that its program's row does not have",
            refusal("su - ann -c\"rm %s\"", {ValueKind::command}));
  EXPECT_EQ("a value beside an option that its program's row does not have",
            refusal("su - ann -c\"%s > f\"", {ValueKind::command}));
}

TEST(TemplateKinds, AreAsManyAsThereAreBlanks) {
  EXPECT_EQ("more blanks in the template than values", refusal("rm %s", {}));
  EXPECT_EQ("more values than blanks in the template", refusal("rm %s", {ValueKind::text, ValueKind::text}));
  EXPECT_EQ("more values than blanks in the template", refusal("rm %%s", {ValueKind::text}));
}

// ---- What is accepted -------------------------------------------------------------------------------

void expect_accepted(const std::vector<std::string>& templates) {
  for (const std::string& text : templates) EXPECT_EQ("", refusal(text)) << text;
}

TEST(TemplateReader, AcceptsEachShapeOfTheProgram) {
  expect_accepted(
      {"rm %s",
       "rm -rf %s",
       "cp %s %s",
       "cp -a \"%s\"/* %s ",
       "cp -a \"%s\"/* %s/Documents ",
       "cp -a %s/Desktop/* %s/Desktop",
       "cp -a %s* %s/evolution/local/",
       "cp %s/%s %s",
       "cp \"%s/Wallpaper/%s\" \"%s\"",
       "cp \"%s\"/\"%s\" \"%s\"/\"%s\"/mbox",
       "mkdir -p \"%s\"/\"%s\"",
       "mkdir %s%s",
       "mkdir %s/.gconf/%s",
       "mkdir %s/Mail/Local\\ Folders",
       "cp -a %s/File\\ Extensions/* /Share/",
       "mv %s/mabtemp/*.* %s/",
       "rm %s/*.mab.prev",
       "rm -f \"%s/.%s.index.ids\"",
       "rm %s/.gconf/%%gconf.xml",
       "dos2unix -q \"%s\"",
       "cp %s/std.vcf_\xC5\xF3\xD3\xD1 %s/orig.vcf",
       "cat %s/orig.vcf %s > %s/std.vcf_\xC5\xF3\xD3\xD1",
       "cat %s %s > %s",
       "perl %s <%s >%s",
       "find \"%s\" -name \"*.sbd\" > %s/email_sbd_sbd",
       "chpasswd < %s",
       " > %s",
       "lpinfo -m > %s/ppdlist.txt",
       "grep -i \"%s\" %s/ppdlist.txt > %s/ppd.txt",
       "foomatic-ppdfile-bd -P\"%s\" > %s/ppd.txt",
       "iconv -c -f GB2312 -t utf-8 %s -o %s",
       "mount -l -t %s",
       "file -b \"%s\"",
       "fc-cache %s/.fonts",
       "ln -s %s/.gnome-desktop/ %s/Desktop",
       "ln -s ~/.gnome-desktop/ ~/Desktop",
       "chown -R %s %s",
       "unzip -o \"%s\" -d \"%s\"",
       "tar -jxf \"%s\" -C %s/root",
       "tar -xf \"%s\" -C %s",
       "useradd %s -d %s -m -k %s/root -G audio,cdrom,cnr,desktop,dialout,dip,disk -s /bin/bash -g users",
       "dcop kdesktop KBackgroundIface setWallpaper \"%s\" %d",
       "mozilla -syncin %s",
       "mozilla %s &",
       "firefox %s &",
       "lpadmin -d '%s'",
       " lpadmin -p '%s' -E -v '%s' -m '%s'",
       " foomatic-configure -s cups -p %s -c '%s' -n '%s' -d %s",
       "foomatic-configure -s cups -D -n '%s'",
       "foomatic-configure -s cups -n '%s' -o PageSize=Custom: "
       "\" -dDEVICEWIDTHPOINTS=%s -dDEVICEHEIGHTPOINTS=%s\"",
       "lpoptions -p '%s' -o Quality=%sx%ssw",
       "lpoptions -p '%s' -o %s",
       "su - %s -c\"%s\"",
       "unzip -l \"%s\" | awk '{print $1}' | tail -n 1",
       "df /tmp | awk '{print $4}' | tail -n 1",
       "ls -l \"%s\" | awk '{print $5}'",
       "zipinfo -v \"%s\" | grep \"file security status\"                         | awk '{print $4}'",
       "date +%%Z",
       "hostname",
       "evolution --force-shutdown",
       "gconftool-2 --spawn",
       "killall kmail"});
}

TEST(TemplateReader, AcceptsTheRestOfItsGrammar) {
  expect_accepted({"rm %s; rm %s",
                   "rm %s && cat %s || cat %s;",
                   "cat %s 2> %s",
                   "cat %s >> %s",
                   "> %s cat %s",
                   "cat > \"%s\" '%s'",
                   "rm '#!~{[(%s)]}|&;<>'",
                   "rm \"#!~{[(%s)]}|&;<>\"",
                   "rm '\n%s'",
                   "rm a\\;b%s",
                   "rm %s\\ x",
                   "rm \\#%s",
                   "rm ?%s?",
                   "rm \"a\\\\%s\"",
                   "rm \"%s\"'%s'%s",
                   "cat %s|cat",
                   "rm %s;",
                   "rm\t%s",
                   "rm %s&",
                   "rm a & rm %s",
                   "touch /tmp/ran; exit 3"});
}

// ---- What is known of each blank --------------------------------------------------------------------

Slot only_slot(const std::string& text) { return shell::TemplateReader(text).read().at(0); }

TEST(TemplateSlot, KnowsItsPlace) {
  EXPECT_EQ(Place::bare, only_slot("rm x%s").place);
  EXPECT_EQ(Place::double_quotes, only_slot("rm \"x%s\"").place);
  EXPECT_EQ(Place::single_quotes, only_slot("rm 'x\"%s'").place);
  EXPECT_EQ(Place::bare, only_slot("rm \"x\"'y'%s").place);
  EXPECT_EQ(5u, only_slot("rm %%%s").offset);
}

TEST(TemplateSlot, KnowsWhatItsValueIsToTheShell) {
  EXPECT_EQ(Role::argument, only_slot("cat %s > f").role);
  EXPECT_EQ(Role::file_name, only_slot("cat > %s").role);
  EXPECT_EQ(Role::argument, only_slot("cat > f %s").role);
  EXPECT_EQ(Role::command, only_slot("su - ann -c\"%s\"").role);
}

TEST(TemplateSlot, KnowsWhetherItMayBeginItsWord) {
  for (const char* text : {"rm %s", "rm \"%s\"", "rm ''%s", "rm a %s"}) {
    EXPECT_TRUE(only_slot(text).at_start) << text;
    EXPECT_TRUE(only_slot(text).first_value) << text;
  }
  for (const char* text : {"rm x%s", "rm \"x%s\"", "rm %%%s", "rm \\ %s", "rm ' '%s"})
    EXPECT_FALSE(only_slot(text).at_start) << text;
  const std::vector<Slot> both = shell::TemplateReader("mkdir %s%s").read();
  EXPECT_TRUE(both[1].at_start);
  EXPECT_FALSE(both[1].first_value);
  EXPECT_FALSE(both[1].alone);
  EXPECT_TRUE(only_slot("rm %s").alone);
  EXPECT_FALSE(only_slot("rm %s/").alone);
}

}  // namespace
