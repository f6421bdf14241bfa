#!/usr/bin/python3
"""Counts the messages of every mail folder with Python's own mailbox readers.

  count_messages.py archive|evolution|kmail FOLDER

Prints "FOLDER/SUBFOLDER COUNT" lines, sorted, under the archive's names in all three cases. A message is one that has
headers; "and N without headers" behind the count tells of files that a reader would show as empty letters.
"""
import mailbox
import os
import sys

KMAIL = {"inbox": "Inbox", "sent-mail": "Sent", "outbox": "Outbox", "drafts": "Drafts", "trash": "Trash"}


def mbox(path):
    return counted(mailbox.mbox(path, create=False))


def maildir(path):
    return counted(mailbox.Maildir(path, create=False))


def counted(box):
    whole = sum(bool(message.keys()) for message in box)
    return whole if whole == len(box) else f"{whole} and {len(box) - whole} without headers"


def archive(top, prefix=""):
    for name in os.listdir(top):
        path = os.path.join(top, name)
        if name.endswith(".sbd"):
            yield from archive(path, prefix + name[:-4] + "/")
        elif os.path.isfile(path):
            yield prefix + name, mbox(path)


def evolution(top, prefix=""):
    for name in os.listdir(top):
        path = os.path.join(top, name)
        if os.path.isfile(path + "/mbox"):
            yield prefix + name, mbox(path + "/mbox")
        if os.path.isdir(path + "/subfolders"):
            yield from evolution(path + "/subfolders", prefix + name + "/")


def kmail(top, prefix=""):
    def archive_name(name):
        return name if prefix else KMAIL.get(name, name)

    for name in os.listdir(top):
        path = os.path.join(top, name)
        if name.startswith(".") and name.endswith(".directory"):
            yield from kmail(path, prefix + archive_name(name[1:-10]) + "/")
        else:
            yield prefix + archive_name(name), maildir(path)


for folder, count in sorted(globals()[sys.argv[1]](sys.argv[2])):
    print(folder, count)
