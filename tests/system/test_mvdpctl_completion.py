"""The completions and the manual of mvdpctl know every command and every option that its help knows."""

import pathlib
import re
import subprocess

import pytest

from mvdpctlrun import program
from waiting import PATIENCE

FOLDER = pathlib.Path(__file__).resolve().parents[2] / "tools" / "mvdpctl" / "completions"
ZSH_DRIVER = pathlib.Path(__file__).resolve().with_name("zshcompletion.zsh")
BASH = """
set -u
source "$1/mvdpctl.bash"
read -ra COMP_WORDS <<<"$2"
case $2 in *' ') COMP_WORDS+=("") ;; esac
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
# As the shell itself does it: the function that is registered for the program.
$(complete -p mvdpctl | sed 's/.*-F \\([^ ]*\\) .*/\\1/')
printf '%s\\n' ${COMPREPLY[@]+"${COMPREPLY[@]}"}
"""
FISH = 'source "$argv[1]/mvdpctl.fish"; complete -C "$argv[2]"'


# The long form of an option in a help text's list.
OPTION = re.compile(r"^  (?:-\w, |    )(--[a-z-]+)", re.MULTILINE)


def said(*arguments, **options):
    completed = subprocess.run([str(argument) for argument in arguments], capture_output=True, text=True,
                               timeout=4 * PATIENCE, check=True, stdin=subprocess.DEVNULL, **options)
    assert completed.stderr == ""
    return completed.stdout


def bash(line, **options):
    return set(said("bash", "--norc", "-c", BASH, "bash", FOLDER, line, **options).splitlines())


def zsh(line, **options):
    return set(said("zsh", "-f", ZSH_DRIVER, FOLDER, line, **options).split())


def fish(line, **options):
    return {each.split("\t")[0] for each in
            said("fish", "--no-config", "-c", FISH, FOLDER, line, **options).splitlines()}


def help_text(*command):
    text = said(program(), *command, "--help")
    assert text.startswith(" ".join(["Usage: mvdpctl", *command]) + " ")
    return text


def commands():
    section = help_text().split("Commands:\n")[1].split("\n\n")[0]
    names = re.findall(r"^  ([a-z-]+) ", section, re.MULTILINE)
    assert len(names) >= 10
    return names


def options(*command):
    names = set(OPTION.findall(help_text(*command)))
    assert {"--json", "--csv", "--help"} <= names
    return names


@pytest.fixture(name="complete", params=[bash, zsh, fish], ids=lambda shell: shell.__name__)
def fixture_complete(request):
    return request.param


def test_commands_are_completed(complete):
    words = complete("mvdpctl ")
    assert {word for word in words if not word.startswith("-")} == set(commands())


def test_beginning_of_a_command_is_completed(complete):
    assert complete("mvdpctl res") >= {"restart", "reset-network", "restore-defaults"}


def test_options_of_each_command_are_completed(complete):
    for command in commands():
        assert complete(f"mvdpctl {command} --") == options(command), command


def test_version_and_help_are_completed(complete):
    assert complete("mvdpctl --") >= {"--version", "--help"}


def test_values_are_completed(complete, tmp_path):
    assert complete("mvdpctl restore-defaults --marker ") == {"absolute", "relative"}
    for name in ("plan.csv", "plan.json"):
        (tmp_path / name).touch()
    assert {"plan.csv", "plan.json"} <= complete("mvdpctl set --from ", cwd=tmp_path)
    assert "lo" in complete("mvdpctl discover --interface ")


def test_values_that_are_typed_are_not_made_up(complete):
    assert not [word for word in complete("mvdpctl discover --timeout ") if word.startswith("-")]


def listed_options(heading, *command):
    """The options in the help text's list under this heading."""
    blocks = help_text(*command).split("\n\n")
    return {name for block in blocks if block.startswith(heading + "\n")
            for name in OPTION.findall(block)}


def manual_section(name):
    page = (FOLDER.parent / "mvdpctl.1").read_text(encoding="utf-8").replace("\\-", "-")
    return page.split(f"\n.SH {name}\n")[1].split("\n.SH ")[0]


def manual_of_commands():
    """What the manual says of each command: its own subsections, and the paragraphs from one on whose first line is a
    list of commands and holds for all of them."""
    told = dict.fromkeys(commands(), "")
    for subsection in manual_section("COMMANDS").split(".SS ")[1:]:
        owners = subsection.split(maxsplit=1)[:1]
        for paragraph in subsection.split("\n.PP\n"):
            words = set(re.findall("[a-z-]+", paragraph.split("\n")[0])) - {"and"}
            if len(words) > 1 and words <= told.keys():
                owners = words
            for owner in owners:
                told[owner] += paragraph
    return told


def test_manual_tells_the_options_of_each_command():
    manual = manual_of_commands()
    assert [command for command, text in manual.items() if not text] == []
    lacking = [f"{command} {option}" for command, text in manual.items()
               for option in sorted(listed_options("Options:", command) - set(re.findall("--[a-z-]+", text)))]
    assert lacking == []


def test_manual_tells_the_options_of_every_command():
    headings = re.findall(r"^\.TP\n(.*)$", manual_section("OPTIONS"), re.MULTILINE)
    told = {name for heading in headings for name in re.findall("--[a-z-]+", heading)}
    for command in [(), *((command,) for command in commands())]:
        assert told == listed_options("Options of every command:", *command)
        assert told | listed_options("Options:", *command) == options(*command)
