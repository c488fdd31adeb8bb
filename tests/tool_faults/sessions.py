"""Small sessions of the command, in which each subcommand has as much to do as it can have, and so as much that can go wrong."""
import io
import json
import lzma
import zipfile

# Of shell built-ins only, so that it starts quickly. "installed" has the units; every change makes a state of the profile.
DIRECTOR = r"""#!/bin/sh
here=${0%/*}
registry=$here/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile
echo "$*" >> "$here/calls"
last=
for argument; do last=$argument; done

write_state() {
  units= roots=
  while read -r unit; do
    which="id='${unit%/*}' version='${unit#*/}'"
    units="$units<unit $which/>"
    roots="$roots<iuProperties $which><properties><property name='org.eclipse.equinox.p2.type.root' value='true'/></properties></iuProperties>"
  done < "$here/installed"
  set -- "$registry"/*
  echo "<profile><units>$units</units><iusProperties>$roots</iusProperties></profile>" > "$registry/173123460000$#.profile"
}

case $* in
*-listInstalledRoots*)
  while read -r unit; do echo "$unit"; done < "$here/installed"
  echo 'Operation completed in 8 ms.' ;;
*-verifyOnly*) echo 'Operation completed in 9 ms.' ;;
*-revert*)
  echo local.ide/4.26.0 > "$here/installed"
  write_state ;;
*' -i '*)
  IFS=,
  for feature in $last; do
    if [ -f "$here/fails" ] && [ "$feature" = two ]; then
      printf '!SESSION\n!MESSAGE there is no two\n' > "$here/configuration/1.log"
      echo 'Installation failed.'
      exit 13
    fi
  done
  for feature in $last; do
    IFS=' '
    known=
    while read -r unit; do [ "$unit" != "$feature/1.0.0" ] || known=1; done < "$here/installed"
    [ "$known" ] || echo "$feature/1.0.0" >> "$here/installed"
  done
  write_state
  echo 'Operation completed in 10 ms.' ;;
esac
"""

REGISTRY = "eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/"
BUNDLES = "eclipse/configuration/org.eclipse.equinox.simpleconfigurator/bundles.info"


def profile(*roots):
    units = "".join(f"<unit id='{name}' version='{version}'/>" for name, version in roots)
    properties = "".join(
        f"<iuProperties id='{name}' version='{version}'><properties><property name='org.eclipse.equinox.p2.type.root' "
        "value='true'/></properties></iuProperties>" for name, version in roots)
    return f"<profile><units>{units}</units><iusProperties>{properties}</iusProperties></profile>"


def site(*units):
    return "<repository><units>" + "".join(f"<unit id='{unit}' version='1.0.0'/>" for unit in units) + "</units></repository>"


def archive(name, content):
    """With a fixed time, so that it always has the same bytes."""
    file = io.BytesIO()
    with zipfile.ZipFile(file, "w", zipfile.ZIP_DEFLATED) as written:
        written.writestr(zipfile.ZipInfo(name), content)
    return file.getvalue()


def component(code, **state):
    return {"code": code, "installBase": ".", "installDir": code, "capabilities": ["TOOLS_ECLIPSE_PLUGIN"],
            "package": {"scan": code}, **state}


def session(directory, mode="install"):
    state = {"install": True} if mode == "install" else {"installed": True, "remove": True}
    return json.dumps({
        "mode": mode,
        "variables": {"ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse",
                      "USER_DEFINED_ECLIPSE_PATH": f"{directory}/eclipse/eclipse",
                      "eclipse_integration_failed_title": "These failed:"},
        "components": [component("tools", **state)]}, indent=1)


def product(directory):
    """The files of an instance, a component and a session. A file with the name of the director can be executed."""
    return {
        "eclipse/eclipse": DIRECTOR,
        "eclipse/installed": "local.ide/4.26.0\n",
        "eclipse/artifacts.xml": "<repository/>\n",
        "eclipse/configuration/config.ini": "osgi.bundles=none\neclipse.p2.profile=P\neclipse.buildId=4.26.0\n",
        BUNDLES: "one,1.0.0,plugins/one.jar,4,false\n",
        REGISTRY + "1731234500000.profile": profile(("local.ide", "4.26.0")),
        "tools/etc/eclipse/tools.txt": "Repository\tFeature\nsite\tone\nsite\ttwo\n",
        "tools/site/content.xml": site("one", "two"),
        "session.json": session(directory),
    }


def with_sites(directory):
    """A product with a site of each form, and with a few mistakes."""
    files = product(directory)
    files["tools/etc/eclipse/tools.txt"] = (
        "Repository\tFeature\nsite\tone\njar\ttwo\nxz\tthree\nall\tone\nsite.zip\tfour\nsite\tmissing\n")
    files["tools/jar/content.jar"] = archive("content.xml", site("two"))
    files["tools/xz/content.xml.xz"] = lzma.compress(site("three").encode())
    files["tools/xz/p2.index"] = "version=1\nmetadata.repository.factory.order=content.xml.xz,!\n"
    files["tools/all/compositeContent.xml"] = (
        "<repository><children size='2'><child location='../site'/><child location='../jar'/></children></repository>")
    files["tools/site.zip"] = archive("content.xml", site("four"))
    return files


def with_mistakes(directory):
    """With descriptors that "lint --fix" corrects."""
    files = product(directory)
    files["tools/etc/eclipse/tools.txt"] = "\ufeffRepository\tFeature\r\nsite\tone\r\nsite \ttwo\r\n"
    files["tools/etc/eclipse/more.txt"] = "Repository\tFeature\r\nsite\ttwo \r\n"
    return files


def with_failing_director(directory):
    return {**product(directory), "eclipse/fails": ""}


def after_a_run(directory):
    """An instance with a run that can be undone."""
    run = {"command": "eclipse-int run session.json", "before": "1731234500000", "after": "1731234600000", "revertedTo": "",
           "repositories": [], "variablesFile": ""}
    return {**product(directory),
            "eclipse/installed": "local.ide/4.26.0\none/1.0.0\n",
            REGISTRY + "1731234600000.profile": profile(("local.ide", "4.26.0"), ("one", "1.0.0")),
            "eclipse/configuration/.eclipse-int.runs.json": json.dumps({"runs": [run]}),
            "variables.json": json.dumps({"CASHED_ECLIPSE_PATH": f"{directory}/eclipse/eclipse"})}


def damaged(directory):
    """An instance that a director has left with a damaged state and without its bundles, and a copy of what it had before."""
    files = product(directory)
    kept = "eclipse/configuration/.eclipse-int.kept/1731234500000/"
    files[kept + "configuration/config.ini"] = files["eclipse/configuration/config.ini"]
    files[kept + BUNDLES.removeprefix("eclipse/")] = files[BUNDLES]
    files[BUNDLES] = ""
    files[REGISTRY + "1731234600000.profile"] = "<profile><un"
    return files
