user_pref("mail.account.account1.server", "server1");
user_pref("mail.accountmanager.localfoldersserver", "server1");
user_pref("mail.root.pop3", "/root/.mozilla/default/abc.slt/Mail");
user_pref("mail.root.none", "/root/.mozilla/default/abc.slt/Mail");
user_pref("mail.root.imap", "/root/.mozilla/default/abc.slt/ImapMail");
user_pref("mail.server.server1.directory", "/root/.mozilla/default/abc.slt/Mail/Local Folders");
user_pref("mail.server.server1.hostname", "Local Folders");
user_pref("mail.server.server1.login_at_startup", true);
user_pref("mail.server.server1.name", "Local Folders");
user_pref("mail.server.server1.type", "none");)
user_pref("mail.server.server1.userName", "nobody");
user_pref("mail.accountmanager.accounts", "account1");
user_pref("mail.smtpservers", "");
