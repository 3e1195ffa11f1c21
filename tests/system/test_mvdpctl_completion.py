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
# Equals signs and colons are words of their own, as in the shell.
read -ra COMP_WORDS <<<"$(sed 's/[=:]/ & /g' <<<"$2")"
case $2 in *' ') COMP_WORDS+=("") ;; esac
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
# As the shell itself does it: the function that is registered for the program.
$(complete -p mvdpctl | sed 's/.*-F \\([^ ]*\\) .*/\\1/')
for word in ${COMPREPLY[@]+"${COMPREPLY[@]}"}; do echo "$word"; done
"""
FISH = 'source "$argv[1]/mvdpctl.fish"; complete -C "$argv[2]"'


# The long form of an option in a help text's list.
OPTION = re.compile(r"^  (?:-\w, |    )(--[a-z-]+)", re.MULTILINE)
# Both forms of an option that takes a value.
VALUED = re.compile(r"^  (?:(-\w), |    )(--[a-z-]+) [A-Z[]", re.MULTILINE)


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


def valued_options(*command):
    return [name for names in VALUED.findall(help_text(*command)) for name in names if name]


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


def test_options_that_every_command_takes_are_completed_before_it(complete):
    assert complete("mvdpctl --") == options()


def test_options_before_the_command_are_passed_over(complete):
    valued = {option for command in [(), *((name,) for name in commands())] for option in valued_options(*command)}
    assert {"-i", "--interface", "--hex"} <= valued
    long_forms = "".join(f"{option} echo " for option in valued if option.startswith("--"))
    # A value that is taken for the command makes it another command.
    for before in (long_forms, "-vi echo -t5 --color=echo ", "-jiecho -t echo --mac 02:00:5e:10:00:01 "):
        assert complete(f"mvdpctl {before}set --dry") == {"--dry-run"}, before
    assert complete("mvdpctl --quiet -i echo disc") == {"discover"}


def test_options_of_an_abbreviated_command_are_completed(complete):
    assert complete("mvdpctl ec --") == options("echo")
    assert complete("mvdpctl restart --quiet restore-defaults --m") == set()
    assert complete("mvdpctl res --m") == set()


@pytest.mark.parametrize("option, values", [
    ("restore-defaults --marker", {"absolute", "relative"}),
    ("set --format", {"csv", "json"}),
    ("plan --order", {"mac", "names", "model"}),
    ("discover --color", {"auto", "always", "never"}),
    ("--color", {"auto", "always", "never"}),
], ids=lambda each: each if isinstance(each, str) else "")
def test_words_that_an_option_takes_are_completed(complete, option, values):
    assert complete(f"mvdpctl {option} ") == values
    first = min(values)
    # Some shells complete the value, some the whole word.
    assert {word.split("=")[-1] for word in complete(f"mvdpctl {option}={first[:2]}")} == {first}


def test_files_and_interfaces_are_completed(complete, tmp_path):
    for name in ("plan.csv", "plan.json"):
        (tmp_path / name).touch()
    assert {"plan.csv", "plan.json"} <= complete("mvdpctl set --from ", cwd=tmp_path)
    assert "plan.csv" in complete("mvdpctl discover --names ", cwd=tmp_path)
    for option in ("--interface", "-i"):
        assert "lo" in complete(f"mvdpctl discover {option} ")


def test_values_that_are_typed_are_not_made_up(complete):
    for option in ("-t", "--timeout", "--hex"):
        assert complete(f"mvdpctl raw {option} ") == set(), option


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
