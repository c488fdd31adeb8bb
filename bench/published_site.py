"""A p2 repository as a build publishes it: xz metadata, a p2.index, and a jar with its checksum for each artifact."""
import hashlib
import io
import lzma
import zipfile

CHECKED = '''    <artifact classifier='{classifier}' id='{id}' version='{version}'>
      <properties size='2'>
        <property name='download.size' value='{size}'/>
        <property name='download.checksum.sha-256' value='{digest}'/>
      </properties>
    </artifact>
'''
BUNDLE = '''    <unit id='{id}' version='{version}' generation='2'>
      <update id='{id}' range='[0.0.0,{version})' severity='0'/>
      <properties size='2'>
        <property name='org.eclipse.equinox.p2.name' value='Bundle {id}'/>
        <property name='org.eclipse.equinox.p2.provider' value='Example'/>
      </properties>
      <provides size='3'>
        <provided namespace='org.eclipse.equinox.p2.iu' name='{id}' version='{version}'/>
        <provided namespace='osgi.bundle' name='{id}' version='{version}'/>
        <provided namespace='java.package' name='{id}.api' version='0.0.0'/>
      </provides>
      <requires size='{count}'>
{requires}      </requires>
      <artifacts size='1'>
        <artifact classifier='osgi.bundle' id='{id}' version='{version}'/>
      </artifacts>
      <touchpoint id='org.eclipse.equinox.p2.osgi' version='1.0.0'/>
    </unit>
'''
GROUP = '''    <unit id='{id}.feature.group' version='{version}' singleton='false'>
      <properties size='1'>
        <property name='org.eclipse.equinox.p2.type.group' value='true'/>
      </properties>
      <provides size='1'>
        <provided namespace='org.eclipse.equinox.p2.iu' name='{id}.feature.group' version='{version}'/>
      </provides>
      <requires size='{count}'>
{requires}      </requires>
      <touchpoint id='null' version='0.0.0'/>
    </unit>
'''
REQUIRED = "        <required namespace='{namespace}' name='{name}' range='{range}'/>\n"
UNIT = "org.eclipse.equinox.p2.iu"


def publish(directory, units, features):
    """Makes `units` units in an empty directory; so many of them are features, whose ids are returned."""
    version = "1.2.3.v20240102-0304"
    bundles = [f"org.example.part{i}" for i in range(units - features)]
    (directory / "plugins").mkdir(parents=True)
    metadata, artifacts = [], []
    for i, bundle in enumerate(bundles):
        jar = jar_of(bundle, version)
        (directory / "plugins" / f"{bundle}_{version}.jar").write_bytes(jar)
        needed = [REQUIRED.format(namespace="java.package", name=f"{other}.api", range="0.0.0") for other in bundles[max(0, i - 4):i]]
        metadata.append(BUNDLE.format(id=bundle, version=version, requires="".join(needed), count=len(needed)))
        artifacts.append(CHECKED.format(classifier="osgi.bundle", id=bundle, version=version, size=len(jar),
                                        digest=hashlib.sha256(jar).hexdigest()))
    ids = [f"org.example.feature{i}" for i in range(features)]
    for i, feature in enumerate(ids):
        needed = [REQUIRED.format(namespace=UNIT, name=bundle, range=f"[{version},{version}]") for bundle in bundles[i::features]]
        metadata.append(GROUP.format(id=feature, version=version, requires="".join(needed), count=len(needed)))
    write_xz(directory / "content.xml.xz", "metadata", "LocalMetadataRepository", f"  <units size='{units}'>\n{''.join(metadata)}  </units>\n")
    mappings = ("  <mappings size='1'>\n    <rule filter='(&amp; (classifier=osgi.bundle))' output='${repoUrl}/plugins/${id}_${version}.jar'/>\n"
                "  </mappings>\n")
    write_xz(directory / "artifacts.xml.xz", "artifact", "simpleRepository",
             f"{mappings}  <artifacts size='{len(artifacts)}'>\n{''.join(artifacts)}  </artifacts>\n")
    (directory / "p2.index").write_text("version=1\nmetadata.repository.factory.order=content.xml.xz,!\n"
                                        "artifact.repository.factory.order=artifacts.xml.xz,!\n", encoding="ascii")
    return [f"{feature}.feature.group" for feature in ids]


def jar_of(bundle, version):
    content = io.BytesIO()
    with zipfile.ZipFile(content, "w", zipfile.ZIP_DEFLATED) as jar:
        jar.writestr("META-INF/MANIFEST.MF", "Manifest-Version: 1.0\nBundle-ManifestVersion: 2\n"
                     f"Bundle-SymbolicName: {bundle}\nBundle-Version: {version}\n")
    return content.getvalue()


def write_xz(file, kind, implementation, elements):
    package = "org.eclipse.equinox.internal.p2.metadata.repository" if kind == "metadata" else "org.eclipse.equinox.p2.artifact.repository"
    version = "1.2.0" if kind == "metadata" else "1.1.0"
    text = (f"<?xml version='1.0' encoding='UTF-8'?>\n<?{kind}Repository version='{version}'?>\n"
            f"<repository name='Example' type='{package}.{implementation}' version='1'>\n{elements}</repository>\n")
    file.write_bytes(lzma.compress(text.encode()))
