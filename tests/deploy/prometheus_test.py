# SPDX-License-Identifier: LGPL-2.1-or-later
import json
import re
import unittest

from deployment import DEPLOY, Deployment, answer, documents_of, eventually, running

# What Prometheus adds to all that it scrapes, and to what alerts.
OF_PROMETHEUS = {"up"}
LABELS_OF_PROMETHEUS = {"job", "instance", "le"}


def without_names_of_labels(expression):
    expression = re.sub(r'"[^"]*"|\{[^}]*\}|\[[^\]]*\]|\boffset\s+\w+', " ", expression)
    return re.sub(r"\b(by|on|without|ignoring|group_left|group_right)\s*\([^)]*\)", " ", expression)


def metrics_in(expression):
    """What an expression of PromQL asks for: its words that are neither functions nor operators."""
    words = set(re.findall(r"(?<![\w:])[a-zA-Z_:][\w:]*(?![\w:]|\s*\()", without_names_of_labels(expression)))
    return words - {"and", "or", "unless"}


def labels_in(text):
    """Those that an expression, or a text of Grafana or Prometheus, names."""
    of_matchers = re.findall(r"[{,]\s*(\w+)\s*(?:=~|!~|!=|=)", text)
    of_lists = re.findall(r"\b(?:by|on|without|ignoring)\s*\(([^)]*)\)", text)
    of_texts = re.findall(r"\{\{\s*(?:\$labels\.)?(\w+)\s*\}\}", text)
    return {*of_matchers, *re.findall(r"\w+", " ".join(of_lists)), *of_texts}


class Queries(Deployment):
    @classmethod
    def setUpClass(cls):
        # With T2-MI, whose samples come last.
        with running("--demo", "--quiet") as page:
            text = eventually(lambda: cls.metrics_with("ts_plp_packets_total", page))
        kinds = dict(re.findall(r"^# TYPE (\S+) (\S+)$", text, re.MULTILINE))
        ends = {"histogram": ("_bucket", "_sum", "_count")}
        cls.metrics = {name + end for name, kind in kinds.items() for end in ends.get(kind, ("",))} | OF_PROMETHEUS
        cls.labels = set(re.findall(r'[{,](\w+)="', text)) | LABELS_OF_PROMETHEUS
        (group,) = documents_of(DEPLOY / "prometheus/zq-monitor-rules.yaml")[0]["groups"]
        cls.rules = group["rules"]
        cls.recorded = {rule["record"] for rule in cls.rules if "record" in rule}

    @staticmethod
    def metrics_with(name, page):
        text = answer(page + "/metrics") or ""
        return text if f"\n{name}{{" in text else None

    def assert_can_be_asked(self, expression):
        asked = metrics_in(expression)
        self.assertTrue(asked, expression)
        self.assertLessEqual(asked, self.metrics | self.recorded, expression)
        self.assertLessEqual(labels_in(expression), self.labels, expression)


class TheRules(Queries):
    def test_ask_for_what_the_program_has(self):
        self.assertGreater(len(self.rules), 10)
        for rule in self.rules:
            self.assert_can_be_asked(rule["expr"])

    def test_say_how_bad_it_is_in_words_with_labels_that_there_are(self):
        for rule in self.rules:
            if "alert" in rule:
                self.assertIn(rule["labels"]["severity"], ("critical", "warning", "info"))
                self.assertLessEqual(labels_in(rule["annotations"]["summary"]), self.labels)

    def test_each_alert_has_a_case_in_which_it_fires(self):
        cases = [*(DEPLOY / "prometheus").glob("*-test.yaml")]
        tests = [test for path in cases for document in documents_of(path) for test in document["tests"]]
        firing = {case["alertname"] for test in tests for case in test["alert_rule_test"] if "exp_alerts" in case}
        self.assertEqual({rule["alert"] for rule in self.rules if "alert" in rule}, firing)


class TheConfiguration(Queries):
    def test_scrapes_the_job_that_the_rules_ask_for_where_the_unit_serves_it(self):
        (configuration,) = documents_of(DEPLOY / "prometheus/prometheus.yaml")
        (job,) = configuration["scrape_configs"]
        named = {name for rule in self.rules for name in re.findall(r'job="([^"]*)"', rule["expr"])}
        self.assertEqual({job["job_name"]}, named)
        (address,) = job["static_configs"][0]["targets"]
        self.assertIn(f"ZQ_HTTP={address} ", (DEPLOY / "systemd/zq-monitor.service").read_text())
        for file in configuration["rule_files"]:
            self.assertTrue((DEPLOY / "prometheus" / file).is_file())


class TheDashboard(Queries):
    text = (DEPLOY / "grafana/zq-monitor.json").read_text()
    dashboard = json.loads(text)

    def test_asks_for_what_the_program_has(self):
        targets = [target for panel in self.dashboard["panels"] for target in panel["targets"]]
        self.assertGreater(len(targets), 10)
        for target in targets:
            self.assert_can_be_asked(target["expr"])
            self.assertLessEqual(labels_in(target["legendFormat"]), self.labels)
        (stream,) = [each for each in self.dashboard["templating"]["list"] if each["type"] == "query"]
        metric, label = re.fullmatch(r"label_values\((\w+), (\w+)\)", stream["query"]["query"]).groups()
        self.assertIn(metric, self.metrics)
        self.assertIn(label, self.labels)

    def test_has_the_variables_that_it_uses(self):
        used = set(re.findall(r"\$\{?([a-z]\w*)", self.text))
        self.assertEqual(used, {each["name"] for each in self.dashboard["templating"]["list"]})

    def test_its_panels_have_numbers_of_their_own_and_do_not_lie_on_each_other(self):
        panels = self.dashboard["panels"]
        self.assertEqual(len({panel["id"] for panel in panels}), len(panels))
        covered = set()
        for panel in panels:
            at = panel["gridPos"]
            cells = {(x, y) for x in range(at["x"], at["x"] + at["w"]) for y in range(at["y"], at["y"] + at["h"])}
            self.assertLessEqual(at["x"] + at["w"], 24)
            self.assertFalse(cells & covered, panel["title"])
            covered |= cells


if __name__ == "__main__":
    unittest.main()
