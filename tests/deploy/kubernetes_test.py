# SPDX-License-Identifier: LGPL-2.1-or-later
import pathlib
import re
import unittest

from deployment import DEPLOY, LIST, Deployment, answer, documents_of, eventually, running, streams_and_shard


def settings_of(thing):
    """What it is to be, or what it holds: the one member beside those that name it."""
    (settings,) = (value for name, value in thing.items() if name not in ("apiVersion", "kind", "metadata"))
    return settings


class TheManifest(Deployment):
    def setUp(self):
        documents = documents_of(DEPLOY / "kubernetes/zq-monitor.yaml")
        self.things = {document["kind"]: document for document in documents}
        self.set = settings_of(self.things["StatefulSet"])
        self.pod = settings_of(self.set["template"])
        (self.container,) = self.pod["containers"]

    def arguments(self, ordinal):
        """Those of the pod with the ordinal: its environment put in, as Kubernetes does."""
        environment = {entry["name"]: entry.get("value", str(ordinal)) for entry in self.container["env"]}
        return [re.sub(r"\$\((\w+)\)", lambda name: environment[name[1]], word) for word in self.container["args"]]

    def test_is_a_list_its_service_and_its_processes(self):
        self.assertEqual(list(self.things), ["ConfigMap", "Service", "StatefulSet"])
        self.assertEqual({thing["metadata"]["name"] for thing in self.things.values()}, {"zq-monitor"})

    def test_the_key_with_an_escape_is_that_of_the_pod(self):
        # Kubernetes has one name for what a thing is to be, of the pod as of all others.
        (key,) = set(self.set["template"]) - {"metadata"}
        self.assertIn(key, self.things["Service"])
        self.assertIn(key, self.things["StatefulSet"])

    def test_the_selectors_find_the_pods(self):
        labels = self.set["template"]["metadata"]["labels"]
        self.assertEqual(self.set["selector"]["matchLabels"], labels)
        self.assertEqual(settings_of(self.things["Service"])["selector"], labels)
        (apart,) = self.pod["affinity"]["podAntiAffinity"]["requiredDuringSchedulingIgnoredDuringExecution"]
        self.assertEqual(apart["labelSelector"]["matchLabels"], labels)
        self.assertEqual(self.set["serviceName"], self.things["Service"]["metadata"]["name"])

    def test_the_ordinal_of_a_pod_is_its_shard(self):
        (ordinal,) = [entry for entry in self.container["env"] if "valueFrom" in entry]
        self.assertEqual(
            ordinal["valueFrom"]["fieldRef"]["fieldPath"], "metadata.labels['apps.kubernetes.io/pod-index']"
        )
        shards = [word for pod in range(3) for word in self.arguments(pod) if word.startswith("--shard=")]
        self.assertEqual(shards, ["--shard=0/3", "--shard=1/3", "--shard=2/3"])
        self.assertEqual(self.set["replicas"], 3)

    def test_the_program_takes_the_arguments_and_each_stream_is_with_one_pod(self):
        streams = settings_of(self.things["ConfigMap"])["streams.toml"]
        for text in (streams, streams + '[[stream]]\nname = "Sport"\naddress = "udp://239.1.1.2:5000"\n'):
            told = [self.assert_is_taken(self.arguments(pod), text) for pod in range(self.set["replicas"])]
            listed, held = zip(*map(streams_and_shard, told))
            self.assertEqual(set(listed), {text.count("[[stream]]")})
            self.assertEqual(sum(held), listed[0])

    def test_the_list_is_where_the_program_looks_for_it(self):
        (mount,) = self.container["volumeMounts"]
        (volume,) = self.pod["volumes"]
        self.assertEqual(mount["name"], volume["name"])
        self.assertEqual(volume["configMap"]["name"], self.things["ConfigMap"]["metadata"]["name"])
        for file in settings_of(self.things["ConfigMap"]):
            self.assertEqual(str(pathlib.PurePosixPath(mount["mountPath"], file)), LIST)

    def test_the_port_is_that_of_the_page_wherever_it_is_named(self):
        (port,) = self.container["ports"]
        self.assertIn(f"--http=0.0.0.0:{port['containerPort']}", self.container["args"])
        (served,) = settings_of(self.things["Service"])["ports"]
        self.assertEqual(served, {"name": "http", "port": port["containerPort"]})
        annotations = self.set["template"]["metadata"]["annotations"]
        self.assertEqual(annotations["prometheus.io/port"], str(port["containerPort"]))
        for probe in ("readinessProbe", "livenessProbe"):
            self.assertEqual(self.container[probe]["httpGet"]["port"], port["name"])

    def test_a_process_that_works_answers_its_probes(self):
        with running("--demo", "--quiet") as page:
            for probe in ("readinessProbe", "livenessProbe"):
                path = page + self.container[probe]["httpGet"]["path"]
                self.assertTrue(eventually(lambda: answer(path)), path)

    def test_runs_as_nobody_and_writes_nowhere(self):
        self.assertTrue(self.pod["securityContext"]["runAsNonRoot"])
        self.assertFalse(self.container["securityContext"]["allowPrivilegeEscalation"])
        self.assertTrue(self.container["securityContext"]["readOnlyRootFilesystem"])
        self.assertEqual(self.container["securityContext"]["capabilities"], {"drop": ["ALL"]})


if __name__ == "__main__":
    unittest.main()
