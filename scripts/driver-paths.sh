# Where the driver comes from and where it goes; read by the scripts that install and remove it.
# shellcheck shell=bash disable=SC2034
module=libpipewire-module-brindlemux-driver.so
builtModule=build/release/lib/$module
dropIn=driver/50-brindlemux-driver.conf

# server_module_folder: where the system's PipeWire looks for its modules.
server_module_folder() {
  pkg-config --variable=moduledir libpipewire-0.3 2>/dev/null && return
  local folder
  for folder in /usr/lib/*/pipewire-0.3 /usr/lib64/pipewire-0.3 /usr/lib/pipewire-0.3; do
    [ -d "$folder" ] && echo "$folder" && return
  done
  echo "$(basename "$0"): cannot find PipeWire's modules" >&2
  return 1
}

# choose_scope system|user: sets moduleFolder, dropInFolder and restartHint. Ends the script where it cannot write there.
choose_scope() {
  restartHint='The audio server takes note of it at its next start. Log in anew, or as the user at the desktop run
  systemctl --user restart wireplumber pipewire pipewire-pulse
which interrupts what is playing.'
  if [ "$1" = user ]; then
    case ${HOME-} in /*) ;; *)
      echo "$(basename "$0"): HOME is not set" >&2
      exit 1
      ;;
    esac
    moduleFolder=$HOME/.local/lib/brindlemux
    dropInFolder=${XDG_CONFIG_HOME:-$HOME/.config}/pipewire/pipewire.conf.d
    return
  fi
  if [ "$(id -u)" -ne 0 ]; then
    echo "$(basename "$0"): this changes the system and needs root: sudo ./scripts/$(basename "$0")" >&2
    echo "$(basename "$0"): for yourself alone: ./scripts/$(basename "$0") --user" >&2
    exit 1
  fi
  moduleFolder=$(server_module_folder) || exit 1
  dropInFolder=/etc/pipewire/pipewire.conf.d
}
