#include "composer/shapes.h"

namespace {

constexpr Shape shapes[] = {
    // Bare words, whole and in part
    {"rm %s", "rm|({1})"},
    {"rm -rf %s", "rm|-rf|({1})"},
    {"cp %s %s", "cp|({1})|({2})"},
    {"cp -a %s/Groupwise/.gwuser.xml %s/", "cp|-a|{1}/Groupwise/.gwuser.xml|{2}/"},
    {"cp %s/Bookmark.htm %s/%s/bookmarks.html", "cp|{1}/Bookmark.htm|{2}/{3}/bookmarks.html"},
    {"cp -a %s/File\\ Extensions %s", "cp|-a|{1}/File Extensions|({2})"},
    {"cp %s/std.vcf_\xC5\xF3\xD3\xD1 %s/orig.vcf", "cp|{1}/std.vcf_\xC5\xF3\xD3\xD1|{2}/orig.vcf"},
    {"mkdir %s%s", "mkdir|({1}{2})"},
    {"mkdir %s/.gconf/%s", "mkdir|{1}/.gconf/{2}"},
    {"rm %s/.gconf/%%gconf.xml", "rm|{1}/.gconf/%gconf.xml"},
    {"rm /tmp/%s", "rm|/tmp/{1}"},
    {"iconv -c -f GB2312 -t utf-8 %s -o %s", "iconv|-c|-f|GB2312|-t|utf-8|({1})|-o|({2})"},
    {"useradd %s -d %s -m -k %s/root -G audio,cdrom -s /bin/bash -g users",
     "useradd|({1})|-d|({2})|-m|-k|{3}/root|-G|audio,cdrom|-s|/bin/bash|-g|users"},
    {"lpoptions -p '%s' -o Quality=%sx%ssw", "lpoptions|-p|{1}|-o|Quality={2}x{3}sw"},
    {"mozilla %s &", "mozilla|({1})"},

    // Double quotes
    {"dos2unix -q \"%s\"", "dos2unix|-q|{1}"},
    {"cp \"%s/Wallpaper/%s\" \"%s\"", "cp|{1}/Wallpaper/{2}|{3}"},
    {"cp \"%s\"/\"%s\" \"%s\"/\"%s\"/mbox", "cp|{1}/{2}|{3}/{4}/mbox"},
    {"rm -f \"%s/.%s.index.ids\"", "rm|-f|{1}/.{2}.index.ids"},
    {"tar -jxf \"%s\" -C %s/root", "tar|-jxf|{1}|-C|{2}/root"},
    {"lpoptions -p '%s' -o PageSize=Custom: \" -dDEVICEWIDTHPOINTS=%s -dDEVICEHEIGHTPOINTS=%s\"",
     "lpoptions|-p|{1}|-o|PageSize=Custom:| -dDEVICEWIDTHPOINTS={2} -dDEVICEHEIGHTPOINTS={3}"},
    {"rm -f \"%s%s\"x", "rm|-f|{1}{2}x"},

    // Single quotes
    {" lpadmin -p '%s' -E -v '%s' -m '%s'", "lpadmin|-p|{1}|-E|-v|{2}|-m|{3}"},
    {"lpadmin -v 'smb:%s/%s'", "lpadmin|-v|smb:{1}/{2}"},

    // Globs behind a value
    {"cp -a \"%s\"/* %s/Documents ", "cp|-a|{1}/*|{2}/Documents"},
    {"cp -a %s/File\\ Extensions/* /Share/", "cp|-a|{1}/File Extensions/*|/Share/"},
    {"cp -rf %s/* %s/Local\\ Folders", "cp|-rf|{1}/*|{2}/Local Folders"},
    {"mv %s/mabtemp/*.* %s/", "mv|{1}/mabtemp/*.*|{2}/"},
    {"rm %s/*.mab.prev", "rm|{1}/*.mab.prev"},
    {"cp -a %s* %s/evolution/local/", "cp|-a|{1}*|{2}/evolution/local/"},

    // Redirections
    {"perl %s <%s >%s", "perl|({1})|<{2}|>{3}"},
    {"cat %s %s > %s", "cat|({1})|({2})|>{3}"},
    {"cat %s > \"%s\"", "cat|({1})|>{2}"},
    {"cat %s > '%s'", "cat|({1})|>{2}"},
    {"find \"%s\" -name \"*.sbd\" > %s/email_sbd_sbd", "find|{1}|-name|\\*.sbd|>{2}/email_sbd_sbd"},
    {"foomatic-ppdfile-bd -P\"%s\" > %s/ppd.txt", "foomatic-ppdfile-bd|-P{1}|>{2}/ppd.txt"},
    {"lpinfo -m > %s/ppdlist.txt", "lpinfo|-m|>{1}/ppdlist.txt"},
    {"grep -i \"%s\" %s/ppdlist.txt > %s/ppd.txt", "grep|-i|{1}|{2}/ppdlist.txt|>{3}/ppd.txt"},

    // More than one command
    {"unzip -l \"%s\" | awk '{print $1}' | tail -n 1", "unzip|-l|{1}\nawk|{print $1}\ntail|-n|1"},
    {"rm %s && cat '%s'; file -b \"%s\"", "rm|({1})\ncat|{2}\nfile|-b|{3}"},
};

}  // namespace

std::span<const Shape> shapes_of_texts() { return shapes; }
