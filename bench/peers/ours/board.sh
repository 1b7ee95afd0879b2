# Sourced by the other scripts. make_board DIRECTORY makes the board that the corpus is addressed to;
# BREVANT_HOST is the host program.
make_board() {
  "$BREVANT_HOST" init "$1" --name 'My Board'
  for forum in 'General Talk' News 'Help Desk' 'Off Topic'; do
    "$BREVANT_HOST" forum create "$1" "$forum" --maximum 100000
  done
}
# set_mailbox DIRECTORY HOST PORT does what an editor would do to the text file that settings are.
set_mailbox() {
  sed -i -e '/^POP3 Server=/d' -e '/^POP3 Port=/d' "$1/brevant.ini"
  printf 'POP3 Server=%s\r\nPOP3 Port=%s\r\n' "$2" "$3" >>"$1/brevant.ini"
}
