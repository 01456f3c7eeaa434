# Where the driver comes from and where it goes; read by the scripts that install and remove it.
# shellcheck shell=bash
module=libpipewire-module-brindlemux-driver.so
builtModule=build/release/lib/$module
dropIn=driver/50-brindlemux-driver.conf
dropInFolder=/etc/pipewire/pipewire.conf.d

# module_folder: where the system's PipeWire looks for its modules.
module_folder() { pkg-config --variable=moduledir libpipewire-0.3; }

# need_root: ends the script where it cannot write to the system.
need_root() {
  [ "$(id -u)" -eq 0 ] && return
  echo "$(basename "$0"): this changes the system and needs root: sudo ./scripts/$(basename "$0")" >&2
  exit 1
}

restartHint='The audio server takes note of it at its next start. Log in anew, or as the user at the desktop run
  systemctl --user restart wireplumber pipewire pipewire-pulse
which interrupts what is playing.'
