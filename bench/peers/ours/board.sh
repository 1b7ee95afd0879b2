# Sourced by the other scripts. make_board DIRECTORY makes the board that the corpus is addressed to;
# BREVANT_HOST is the host program.
make_board() {
  "$BREVANT_HOST" init "$1" --name 'My Board'
  for forum in 'General Talk' News 'Help Desk' 'Off Topic'; do
    "$BREVANT_HOST" forum create "$1" "$forum" --maximum 100000
  done
}
# set_setting DIRECTORY KEY VALUE does what an editor would do to the text file that settings are.
set_setting() {
  board_file=$1/brevant.ini
  grep -v "^$2=" "$board_file" >"$board_file.new" || true
  printf '%s=%s\r\n' "$2" "$3" >>"$board_file.new"
  mv "$board_file.new" "$board_file"
}
