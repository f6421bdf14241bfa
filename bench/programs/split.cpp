// split MAILBOX FOLDER: the program's own splitter. Makes FOLDER/Inbox2, FOLDER/Inbox3, ...
#include <sys/stat.h>

#include "process/mail/folders/mbox.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::string folder = argv[2];
  mkdir(folder.c_str(), 0777);
  EarlierMessages earlier(folder + "/Inbox");
  return split_mbox(argv[1], folder + "/Inbox", earlier) ? 0 : 1;
}
